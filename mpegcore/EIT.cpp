// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/EIT.h"

#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t fixed_length = 15;
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

void CEIT::Clear()
{
    events.clear();
    CBaseMpegTable::Clear();
}

bool CEIT::read(Reader& reader)
{
    return read_section(reader, [this](Reader& section) {
        const bool whole = read_body(section, CRC_32, [this](TableReader& io) { return syntax(*this, io); });
        if (section_length < fixed_length)
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

void CEIT::print(FieldPrinter& printer) const
{
    print_section(printer, [this](SyntaxPrinter& io) { return syntax(*this, io) && io.bits(32, "CRC_32", CRC_32); });
}

std::uint32_t CEIT::calc_section_length() const
{
    std::uint32_t length = fixed_length;
    for (const auto& event : events)
        if (event)
            length += event_length + event->descriptors.getSize();
    return length;
}

bool CEIT::RenderTable()
{
    return render_section(CRC_32, [this](Writer& writer) {
        TableWriter io(writer);
        return syntax(*this, io);
    });
}

void CEIT::copyTo(CEIT* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_header(*target);
    target->service_id = service_id;
    target->reserved = reserved;
    copy_version_and_sections(*this, *target);
    target->transport_stream_id = transport_stream_id;
    target->original_network_id = original_network_id;
    target->segment_last_section_number = segment_last_section_number;
    target->last_table_id = last_table_id;
    copy_entries(events, target->events);
    target->CRC_32 = CRC_32;
    target->section_length = static_cast<std::uint16_t>(target->calc_section_length());
}
} // namespace mpegcore
