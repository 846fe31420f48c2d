// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/zqdescriptorlist.h"

#include <algorithm>
#include <array>
#include <initializer_list>

namespace mpegcore
{
namespace
{
constexpr unsigned char t2_delivery_system = 0x04;
constexpr std::size_t usual_loop = 8;
} // namespace

/// What reads a descriptor, by its tag.
class ZQDescriptorList::dictionary
{
public:
    struct row
    {
        unsigned char tag;
        read_one read;
    };

    constexpr dictionary(std::initializer_list<row> rows)
    {
        for (auto& read : m_readers)
            read = &ZQDescriptorList::add_generic;
        for (const row& known : rows)
            m_readers[known.tag] = known.read;
    }

    constexpr read_one operator[](unsigned char tag) const { return m_readers[tag]; }

private:
    std::array<read_one, 256> m_readers{};
};

const ZQDescriptorList::dictionary& ZQDescriptorList::ts_dictionary()
{
    using list = ZQDescriptorList;
    static constexpr dictionary tags{
        // Deliberate: the splice descriptor 0x00 is an avail descriptor in a transport stream loop too.
        {0x00, &list::add<avail_descriptor>},
        {0x02, &list::add<video_stream_descriptor>},
        {0x03, &list::add<audio_stream_descriptor>},
        {0x09, &list::add<CA_descriptor>},
        {0x0A, &list::add<ISO_639_language_descriptor>},
        {0x0C, &list::add<multiplex_buffer_utilization_descriptor>},
        {0x10, &list::add<smoothing_buffer_descriptor>},
        {0x11, &list::add<STD_descriptor>},
        {0x40, &list::add<network_name_descriptor>},
        {0x41, &list::add<service_list_descriptor>},
        {0x45, &list::add<VBI_data_descriptor>},
        {0x46, &list::add<teletext_descriptor>},
        {0x47, &list::add<bouquet_name_descriptor>},
        {0x48, &list::add<service_descriptor>},
        {0x4D, &list::add<short_event_descriptor>},
        {0x4E, &list::add<extended_event_descriptor>},
        {0x52, &list::add<stream_identifier_descriptor>},
        {0x55, &list::add<parental_rating_descriptor>},
        {0x56, &list::add<teletext_descriptor>},
        {0x58, &list::add<local_time_offset_descriptor>},
        {0x59, &list::add<subtitling_descriptor>},
        {0x6A, &list::add<ac3_descriptor>},
        {0x7F, &list::add_extension},
        {0x83, &list::add<logical_channel_descriptor>},
        {0x8A, &list::add<cue_identifier_descriptor>},
    };
    return tags;
}

const ZQDescriptorList::dictionary& ZQDescriptorList::scte35_dictionary()
{
    using list = ZQDescriptorList;
    static constexpr dictionary tags{
        {0x00, &list::add<avail_descriptor>},
        {0x01, &list::add<scte35_dtmf_descriptor>},
        {0x02, &list::add<scte35_segmentation_descriptor>},
    };
    return tags;
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

bool ZQDescriptorList::readTS(ZQSDK::ZQBSReaderT<unsigned char*>& reader) { return read_with(ts_dictionary(), reader); }

bool ZQDescriptorList::readSCTE35(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    return read_with(scte35_dictionary(), reader);
}

bool ZQDescriptorList::read_with(const dictionary& tags, ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    while (reader.availableBytes() >= 3) {
        unsigned char tag = 0;
        if (!reader.lookBits<8>(tag) || !(this->*tags[tag])(reader))
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
    return (start & 0xFF) == t2_delivery_system ? add<T2_delivery_system_descriptor>(reader)
                                                : add<extension_descriptor>(reader);
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
