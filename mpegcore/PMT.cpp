// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PMT.h"

#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint8_t program_map_section = 0x02;
constexpr std::uint32_t fixed_length = 13;
constexpr std::uint32_t stream_length = 5;
} // namespace

void CBaseStreamTypeMap::copyTo(CBaseStreamTypeMap* target) const
{
    if (target == nullptr || target == this)
        return;
    target->stream_type = stream_type;
    target->reserved = reserved;
    target->elementary_PID = elementary_PID;
    target->reserved2 = reserved2;
    target->ES_info_length = static_cast<std::uint16_t>(replace_descriptors(descriptors, target->descriptors));
}

template <class Self, class Io>
bool CPMT::syntax(Self& t, Io& io)
{
    return io.bits(16, "program_number", t.program_number) && io.bits(2, "reserved", t.reserved) &&
           version_and_sections(t, io) && io.bits(3, "reserved", t.reserved2) && io.bits(13, "PCR_PID", t.PCR_PID) &&
           io.bits(4, "reserved", t.reserved3) &&
           io.length(12, "program_info_length", t.program_info_length, t.descriptors.getSize()) &&
           io.descriptors(t.program_info_length, "descriptors", t.descriptors) &&
           io.keyed_loop(stream_length, "streams", t.streams, &CBaseStreamTypeMap::elementary_PID);
}

void CPMT::Clear()
{
    streams.clear();
    descriptors.clear();
    CBaseMpegTable::Clear();
}

bool CPMT::read(Reader& reader)
{
    const auto header_fits = [this] { return table_id == program_map_section && private_indicator == 0; };
    return read_section(reader, header_fits, [this](Reader& section) {
        return read_body(section, CRC_32, [this](TableReader& io) { return syntax(*this, io); });
    });
}

void CPMT::print(FieldPrinter& printer) const
{
    print_section(printer, [this](SyntaxPrinter& io) { return syntax(*this, io) && io.bits(32, "CRC_32", CRC_32); });
}

std::uint32_t CPMT::calc_section_length() const
{
    std::uint32_t length = fixed_length + descriptors.getSize();
    for (const auto& stream : streams)
        if (stream.second)
            length += stream_length + stream.second->descriptors.getSize();
    return length;
}

bool CPMT::RenderTable()
{
    return render_section(CRC_32, [this](Writer& writer) {
        TableWriter io(writer);
        return syntax(*this, io);
    });
}

void CPMT::copyTo(CPMT* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_header(*target);
    target->program_number = program_number;
    target->reserved = reserved;
    copy_version_and_sections(*this, *target);
    target->reserved2 = reserved2;
    target->PCR_PID = PCR_PID;
    target->reserved3 = reserved3;
    target->program_info_length = static_cast<std::uint16_t>(replace_descriptors(descriptors, target->descriptors));
    copy_entries(streams, target->streams);
    target->CRC_32 = CRC_32;
    target->section_length = static_cast<std::uint16_t>(target->calc_section_length());
}

bool CPMT::operator!=(const CPMT& other) const
{
    return !same_header(other) || program_number != other.program_number || reserved != other.reserved ||
           version_number != other.version_number || current_next_indicator != other.current_next_indicator ||
           last_section_number != other.last_section_number || reserved2 != other.reserved2 ||
           PCR_PID != other.PCR_PID || reserved3 != other.reserved3 ||
           program_info_length != other.program_info_length || streams.size() != other.streams.size();
}
} // namespace mpegcore
