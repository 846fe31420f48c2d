// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/zqdescriptorlist.h"

#include "mpegcore/parser/BlockPool.h"
#include "mpegcore/typed_descriptor.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <new>

namespace mpegcore
{
namespace
{
constexpr std::size_t usual_loop = 8;
constexpr unsigned char private_data_specifier_tag = 0x5F;
constexpr unsigned char first_private_tag = 0x80;
constexpr std::uint32_t splice_identifier = 0x43554549; // "CUEI"

template <class... Class>
struct LargestOf
{
    static constexpr std::size_t size = std::max({sizeof(Class)...});
};
/// Bytes of the largest object that a few bytes become, with what its block is rounded up to and its share of the list.
constexpr std::size_t largest_descriptor = descriptor_classes<LargestOf>::size + 128;

/// Bytes that the entries of a descriptor may take in memory beside its object, from its header on.
std::size_t entries_may_take(const unsigned char* descriptor)
{
    constexpr unsigned char short_event = 0x4D, extended_event = 0x4E, component = 0x50, parental_rating = 0x55;
    constexpr std::size_t per_byte = 80;       // an entry of one byte, in a vector that grows
    constexpr std::size_t per_item_byte = 264; // two texts for two bytes
    const std::size_t length = descriptor[1];
    switch (descriptor[0]) {
    case short_event:
    case component:
    case parental_rating:
        return 0;
    case extended_event:
        return length < 5 ? 0 : per_item_byte * std::min<std::size_t>(descriptor[6], length - 5);
    default:
        return per_byte * length;
    }
}

bool is_by_the_standards(ZQDescriptorType type)
{
    return type == ZQDescriptorType::Standard || type == ZQDescriptorType::StandardSCTE35 ||
           type == ZQDescriptorType::StandardAIT;
}
} // namespace

/// What is needed of a descriptor to choose its class.
struct ZQDescriptorList::descriptor_start
{
    explicit descriptor_start(ZQSDK::ZQBSReaderT<unsigned char*> at)
    {
        static_cast<void>(at.getBits<8>(tag) && at.getBits<8>(length));
        static_cast<void>(at.lookBits<8>(extension));
        static_cast<void>(at.getBits<32>(first_word));
    }

    unsigned char tag = 0;
    unsigned char length = 0;
    /// The first byte of the body, and its first four; of no meaning when the body is shorter.
    unsigned char extension = 0;
    std::uint32_t first_word = 0;
};

/// A loop whose lengths are right, as it was read; its bytes follow.
struct ZQDescriptorList::unread_loop
{
    std::size_t bytes;
    ZQDescriptorType type;

    unsigned char* data() { return reinterpret_cast<unsigned char*>(this + 1); }
};

/// What reads a descriptor: by its tag, behind the tag 0x7F by its extension, and behind a private tag by its owner.
class ZQDescriptorList::dictionary
{
public:
    /// The dictionary of this type, out of the places that the classes state.
    template <class... Class>
    struct of_classes
    {
        static constexpr dictionary make(ZQDescriptorType type)
        {
            dictionary made;
            (made.enter<Class>(type), ...);
            return made;
        }
    };

    constexpr read_one by_tag(unsigned char tag) const { return m_by_tag[tag]; }
    constexpr read_one by_extension(unsigned char extension) const { return m_by_extension[extension]; }

    read_one by_private_tag(unsigned char tag, std::uint32_t specifier) const
    {
        for (std::size_t at = 0; at < m_private_count; ++at)
            if (const private_row& row = m_private[at];
                row.place.tag == tag && row.place.first_specifier <= specifier && specifier <= row.place.last_specifier)
                return row.read;
        return &ZQDescriptorList::add_generic;
    }

    /// What reads a descriptor that starts like this, in a loop by the standards.
    read_one choose(ZQDescriptorType type, const descriptor_start& start, std::uint32_t specifier) const
    {
        if (type == ZQDescriptorType::StandardSCTE35 && (start.length < 4 || start.first_word != splice_identifier))
            return &ZQDescriptorList::add_generic;
        if (type != ZQDescriptorType::Standard || start.tag < DescriptorPlace::extension_tag)
            return by_tag(start.tag);
        if (start.tag >= first_private_tag)
            return by_private_tag(start.tag, specifier);
        return start.length == 0 ? &ZQDescriptorList::add_generic : by_extension(start.extension);
    }

private:
    constexpr dictionary()
    {
        for (auto& read : m_by_tag)
            read = &ZQDescriptorList::add_generic;
        for (auto& read : m_by_extension)
            read = &ZQDescriptorList::add_generic;
    }

    template <class Class>
    constexpr void enter(ZQDescriptorType type)
    {
        for (const DescriptorPlace& place : Class::places) {
            if (place.dictionary != type)
                continue;
            if (type == ZQDescriptorType::Standard && place.tag >= first_private_tag)
                m_private[m_private_count++] = {place, &ZQDescriptorList::add<Class>};
            else if (place.tag != DescriptorPlace::extension_tag)
                m_by_tag[place.tag] = &ZQDescriptorList::add<Class>;
            else
                enter_extension(place.extension, &ZQDescriptorList::add<Class>);
        }
    }

    constexpr void enter_extension(int extension, read_one read)
    {
        m_by_tag[DescriptorPlace::extension_tag] = &ZQDescriptorList::add_extension;
        if (extension != DescriptorPlace::any_extension) {
            m_by_extension[static_cast<std::size_t>(extension)] = read;
            m_extension_is_named[static_cast<std::size_t>(extension)] = true;
            return;
        }
        for (std::size_t other = 0; other < m_by_extension.size(); ++other)
            if (!m_extension_is_named[other])
                m_by_extension[other] = read;
    }

    struct private_row
    {
        DescriptorPlace place;
        read_one read = nullptr;
    };

    std::array<read_one, 256> m_by_tag{};
    std::array<read_one, 256> m_by_extension{};
    std::array<bool, 256> m_extension_is_named{}; ///< the sanitizers' builds cannot compare functions while compiling
    // Room enough, or the dictionary does not compile.
    std::array<private_row, 16> m_private{};
    std::size_t m_private_count = 0;
};

const ZQDescriptorList::dictionary& ZQDescriptorList::dictionary_of(ZQDescriptorType type)
{
    using classes = descriptor_classes<dictionary::of_classes>;
    static constexpr dictionary ts = classes::make(ZQDescriptorType::TS);
    static constexpr dictionary scte35 = classes::make(ZQDescriptorType::SCTE35);
    static constexpr dictionary standard = classes::make(ZQDescriptorType::Standard);
    static constexpr dictionary standard_scte35 = classes::make(ZQDescriptorType::StandardSCTE35);
    static constexpr dictionary standard_ait = classes::make(ZQDescriptorType::StandardAIT);
    switch (type) {
    case ZQDescriptorType::SCTE35:
        return scte35;
    case ZQDescriptorType::Standard:
        return standard;
    case ZQDescriptorType::StandardSCTE35:
        return standard_scte35;
    case ZQDescriptorType::StandardAIT:
        return standard_ait;
    default:
        return ts;
    }
}

bool ZQDescriptorList::read(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    switch (m_type) {
    case ZQDescriptorType::TS:
        return readTS(reader);
    case ZQDescriptorType::SCTE35:
        return readSCTE35(reader);
    default:
        return readStandard(reader, m_type);
    }
}

bool ZQDescriptorList::readTS(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    return read_with(dictionary_of(ZQDescriptorType::TS), reader);
}

bool ZQDescriptorList::readSCTE35(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    return read_with(dictionary_of(ZQDescriptorType::SCTE35), reader);
}

bool ZQDescriptorList::read_with(const dictionary& tags, ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    while (reader.availableBytes() >= 3) {
        unsigned char tag = 0;
        if (!reader.lookBits<8>(tag) || !(this->*tags.by_tag(tag))(reader))
            return false;
    }
    return true;
}

bool ZQDescriptorList::readStandard(ZQSDK::ZQBSReaderT<unsigned char*>& reader, ZQDescriptorType type)
{
    if (!is_by_the_standards(type))
        return false;
    return (empty() && keep_unread(reader, type)) || read_by_the_standards(reader, type);
}

/// Takes the whole loop, or nothing of it where a length is wrong or there is no descriptor.
bool ZQDescriptorList::keep_unread(ZQSDK::ZQBSReaderT<unsigned char*>& reader, ZQDescriptorType type)
{
    if (reader.bitsLeft() % 8 != 0)
        return false;
    const unsigned char* const data = reader.position();
    const std::size_t size = reader.availableBytes();
    std::size_t bytes = 0, later = 0;
    while (size - bytes >= 2) {
        const unsigned char* const descriptor = data + bytes;
        bytes += 2U + descriptor[1];
        if (bytes > size)
            return false;
        later += largest_descriptor + entries_may_take(descriptor);
    }
    if (bytes == 0)
        return false;
    auto* const loop = ::new (take_block(sizeof(unread_loop) + bytes)) unread_loop{bytes, type};
    std::memcpy(loop->data(), data, bytes);
    expect_block_bytes(later);
    m_unread.store(loop, std::memory_order_release);
    return reader.skipBytes(bytes);
}

void ZQDescriptorList::give_back(unread_loop* loop) { give_block(loop, sizeof(unread_loop) + loop->bytes); }

void ZQDescriptorList::read_now() const
{
    // One for all lists: it is held for microseconds, and hardly ever by two.
    static std::mutex reading;
    const std::lock_guard<std::mutex> lock(reading);
    unread_loop* const loop = m_unread.load(std::memory_order_acquire);
    if (loop == nullptr)
        return;
    ZQDescriptorList list(m_type);
    ZQSDK::ZQBSReaderT<unsigned char*> reader(loop->data(), loop->bytes);
    static_cast<void>(list.read_by_the_standards(reader, loop->type));
    m_descriptors.swap(list.m_descriptors);
    m_unread.store(nullptr, std::memory_order_release);
    give_back(loop);
}

bool ZQDescriptorList::read_by_the_standards(ZQSDK::ZQBSReaderT<unsigned char*>& reader, ZQDescriptorType type)
{
    if (has_unread())
        read_now();
    const dictionary& known = dictionary_of(type);
    std::uint32_t specifier = 0;
    while (reader.availableBytes() >= 2) {
        const descriptor_start start(reader);
        const read_one read_class = known.choose(type, start, specifier);
        if (!reader.readLimited(2UL + start.length, [&](auto& whole) { return add_whole(read_class, whole); }))
            return false;
        if (start.tag == private_data_specifier_tag && start.length >= 4)
            specifier = start.first_word;
    }
    return true;
}

bool ZQDescriptorList::add_whole(read_one read_class, ZQSDK::ZQBSReaderT<unsigned char*>& whole)
{
    const ZQSDK::ZQBSReaderT<unsigned char*> start = whole;
    const std::size_t before = m_descriptors.size();
    const std::size_t length = whole.availableBytes() - 2;
    if ((this->*read_class)(whole)) {
        base_descriptor& added = *m_descriptors.back();
        SyntaxReader behind(whole);
        // A class that cannot keep a body so long has shortened the length.
        if (added.descriptor_length == length && behind.bytes(whole.availableBytes(), "payload", added.payload))
            return true;
    }
    m_descriptors.resize(before);
    whole = start;
    return add_generic(whole);
}

bool ZQDescriptorList::add_generic(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    auto descriptor = std::allocate_shared<base_descriptor>(BlockAllocator<base_descriptor>());
    if (!descriptor->base_descriptor::read(reader))
        return false;
    SyntaxReader io(reader);
    if (!io.bytes(descriptor->descriptor_length, "payload", descriptor->payload))
        return false;
    append(std::move(descriptor));
    return true;
}

bool ZQDescriptorList::add_extension(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    std::uint32_t start = 0;
    if (!reader.lookBits<24>(start))
        return false;
    // Only the dictionary of transport streams has the tag of extensions.
    return (this->*dictionary_of(ZQDescriptorType::TS).by_extension(start & 0xFF))(reader);
}

void ZQDescriptorList::append(std::shared_ptr<base_descriptor> descriptor)
{
    if (!descriptor)
        return;
    if (has_unread())
        read_now();
    if (m_descriptors.capacity() == 0)
        m_descriptors.reserve(usual_loop);
    m_descriptors.push_back(std::move(descriptor));
}

std::shared_ptr<base_descriptor> ZQDescriptorList::find(unsigned char tag) const
{
    const auto found =
        std::find_if(begin(), end(), [tag](const auto& descriptor) { return descriptor->descriptor_tag == tag; });
    return found == end() ? nullptr : *found;
}

void ZQDescriptorList::write(ZQSDK::ZQBSWriterT<unsigned char*>& writer) const
{
    for (const auto& descriptor : *this)
        static_cast<void>(descriptor->write(writer));
}

std::uint32_t ZQDescriptorList::getSize() const
{
    std::uint32_t size = 0;
    for (const auto& descriptor : *this)
        size += 2U + descriptor->descriptor_length;
    return size;
}

void ZQDescriptorList::copyTo(ZQDescriptorList& target) const
{
    if (&target == this)
        return;
    for (const auto& descriptor : *this) {
        auto copy = descriptor->create();
        descriptor->copyTo(copy.get());
        target.append(std::move(copy));
    }
}
} // namespace mpegcore
