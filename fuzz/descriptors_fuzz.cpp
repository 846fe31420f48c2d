// SPDX-License-Identifier: LGPL-2.1-or-later
// The input is read as a loop by each dictionary, and as a descriptor by each class that its first byte is a tag of.
// What was read must come back when it is written, also from a copy, and never store outside the room it is given.
#include "mpegcore/zqdescriptorlist.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace descriptors_target
{
using namespace mpegcore;
using Reader = ZQSDK::ZQBSReaderT<unsigned char*>;
using Writer = ZQSDK::ZQBSWriterT<unsigned char*>;

constexpr std::size_t largest = 1024;
constexpr unsigned char untouched = 0xA5;

void require(bool held)
{
    if (!held)
        std::abort();
}

struct Written
{
    template <class Source>
    Written(const Source& source, std::size_t room)
    {
        bytes[room] = untouched;
        Writer writer(bytes.data(), room);
        if constexpr (std::is_base_of_v<base_descriptor, Source>)
            whole = source.write(writer);
        else
            source.write(writer);
        writer.flush();
        size = writer.bytesWritten();
        require(size <= room && bytes[room] == untouched);
    }

    bool starts(const unsigned char* data) const { return std::memcmp(bytes.data(), data, size) == 0; }

    std::array<unsigned char, largest + 1> bytes;
    std::size_t size = 0;
    bool whole = true;
};

template <class T>
void read_class(unsigned char* data, std::size_t size)
{
    Reader reader(data, size);
    T d;
    if (!d.read(reader))
        return;
    const Written all(d, largest);
    require(all.whole);
    // A conditional access descriptor is the only one that may give back less than it consumed.
    const std::size_t consumed = size - reader.availableBytes();
    if (!std::is_same_v<T, CA_descriptor> || data[1] <= 198)
        require(all.size == consumed && all.starts(data));

    const auto copy = d.create();
    d.copyTo(copy.get());
    const Written of_copy(static_cast<const T&>(*copy), largest);
    require(of_copy.size == all.size && of_copy.starts(all.bytes.data()));

    const Written cut(d, all.size - 1);
    require(cut.size == all.size - 1 && cut.starts(all.bytes.data()) && !cut.whole);
}

void read_list(ZQDescriptorType type, unsigned char* data, std::size_t size)
{
    Reader reader(data, size);
    ZQDescriptorList list(type);
    const bool read = list.read(reader);
    // By the standards nothing of a loop is lost but a last byte alone.
    const bool is_standard = type != ZQDescriptorType::TS && type != ZQDescriptorType::SCTE35;
    const Written all(list, largest);
    require(list.size() <= size / 2 && all.size <= size);
    if (is_standard)
        require(!read || size - all.size <= 1);
    if (is_standard || list.find<CA_descriptor>() == nullptr)
        require(all.starts(data));
    require(list.empty() || list.find((*list.begin())->descriptor_tag) == *list.begin());

    ZQDescriptorList copy(type);
    list.copyTo(copy);
    require(copy.size() == list.size() && copy.getSize() == list.getSize());
    const Written of_copy(copy, largest);
    require(of_copy.size == all.size && of_copy.starts(all.bytes.data()));
    static_cast<void>(Written(list, all.size / 2));
}

template <class T>
void read_class_of_tag(unsigned char* data, std::size_t size)
{
    const auto is_tag = [tag = data[0]](const DescriptorPlace& place) { return place.tag == tag; };
    if (std::any_of(T::places.begin(), T::places.end(), is_tag))
        read_class<T>(data, size);
}

template <class... T>
struct Classes
{
    static void read(unsigned char* data, std::size_t size) { (read_class_of_tag<T>(data, size), ...); }
};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size)
{
    if (size == 0 || size > largest)
        return 0;
    // The reader's interface is not const; it does not write.
    auto* const data = const_cast<unsigned char*>(input);
    descriptor_classes<Classes>::read(data, size);
    for (const auto type : {ZQDescriptorType::TS, ZQDescriptorType::SCTE35, ZQDescriptorType::Standard,
                            ZQDescriptorType::StandardSCTE35, ZQDescriptorType::StandardAIT})
        read_list(type, data, size);
    return 0;
}
} // namespace descriptors_target
