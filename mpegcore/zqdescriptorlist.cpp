// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/zqdescriptorlist.h"

#include <algorithm>
#include <array>

namespace mpegcore
{
namespace
{
constexpr std::size_t usual_loop = 8;
} // namespace

/// What reads a descriptor: by its tag and, behind the tag 0x7F, by its extension.
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
            if (place.tag != DescriptorPlace::extension_tag)
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

    std::array<read_one, 256> m_by_tag{};
    std::array<read_one, 256> m_by_extension{};
    std::array<bool, 256> m_extension_is_named{}; ///< the sanitizers' builds cannot compare functions while compiling
};

const ZQDescriptorList::dictionary& ZQDescriptorList::dictionary_of(ZQDescriptorType type)
{
    using classes = descriptor_classes<dictionary::of_classes>;
    static constexpr dictionary ts = classes::make(ZQDescriptorType::TS);
    static constexpr dictionary scte35 = classes::make(ZQDescriptorType::SCTE35);
    return type == ZQDescriptorType::SCTE35 ? scte35 : ts;
}

bool ZQDescriptorList::read(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    switch (m_type) {
    case ZQDescriptorType::TS:
        return readTS(reader);
    case ZQDescriptorType::SCTE35:
        return readSCTE35(reader);
    }
    return false;
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
    if (m_descriptors.capacity() == 0)
        m_descriptors.reserve(usual_loop);
    m_descriptors.push_back(std::move(descriptor));
}

std::shared_ptr<base_descriptor> ZQDescriptorList::find(unsigned char tag) const
{
    const auto found = std::find_if(m_descriptors.begin(), m_descriptors.end(),
                                    [tag](const auto& descriptor) { return descriptor->descriptor_tag == tag; });
    return found == m_descriptors.end() ? nullptr : *found;
}

void ZQDescriptorList::write(ZQSDK::ZQBSWriterT<unsigned char*>& writer) const
{
    for (const auto& descriptor : m_descriptors)
        static_cast<void>(descriptor->write(writer));
}

std::uint32_t ZQDescriptorList::getSize() const
{
    std::uint32_t size = 0;
    for (const auto& descriptor : m_descriptors)
        size += 2U + descriptor->descriptor_length;
    return size;
}

void ZQDescriptorList::copyTo(ZQDescriptorList& target) const
{
    if (&target == this)
        return;
    for (const auto& descriptor : m_descriptors) {
        auto copy = descriptor->create();
        descriptor->copyTo(copy.get());
        target.append(std::move(copy));
    }
}
} // namespace mpegcore
