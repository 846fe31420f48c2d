// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/EIT.h"

#include "mpegcore/syntax/SectionTableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t EIT_fixed_length = 15;
constexpr std::uint32_t event_length = 12;
} // namespace

template <class Self, class Io>
bool CEIT::fields(Self& t, Io& io)
{
    return io.bits(16, "service_id", t.service_id) && io.bits(2, "reserved", t.reserved) &&
           version_and_sections(t, io) && io.bits(16, "transport_stream_id", t.transport_stream_id) &&
           io.bits(16, "original_network_id", t.original_network_id) &&
           io.bits(8, "segment_last_section_number", t.segment_last_section_number) &&
           io.bits(8, "last_table_id", t.last_table_id);
}

template <class Self, class Io>
bool CEIT::syntax(Self& t, Io& io)
{
    return fields(t, io) && io.loop(event_length, "events", t.events);
}

template class CSectionTable<CEIT>;

void CEIT::Clear()
{
    events.clear();
    CBaseMpegTable::Clear();
}

bool CEIT::read(Reader& reader)
{
    return read_section(reader, [this](Reader& section) {
        const bool whole =
            read_body(section, descriptor_dictionary, CRC_32, [this](TableReader& io) { return syntax(*this, io); });
        if (section_length < EIT_fixed_length)
            set_to_zero(service_id, reserved, version_number, current_next_indicator, section_number,
                        last_section_number, transport_stream_id, original_network_id, segment_last_section_number,
                        last_table_id);
        return whole;
    });
}

bool CEIT::write(Writer& writer)
{
    CBaseMpegTable::write(writer);
    TableWriter io(writer);
    static_cast<void>(syntax(*this, io));
    writer.flush();
    return true;
}

std::uint32_t CEIT::calc_section_length() const
{
    std::uint32_t length = EIT_fixed_length;
    for (const auto& event : events)
        if (event)
            length += event_length + event->descriptors.getSize();
    return length;
}
} // namespace mpegcore
