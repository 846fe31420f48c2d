// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PMT.h"

#include "mpegcore/syntax/SectionTableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint8_t program_map_section = 0x02;
constexpr std::uint32_t PMT_fixed_length = 13;
constexpr std::uint32_t stream_length = 5;
} // namespace

void CBaseStreamTypeMap::copyTo(CBaseStreamTypeMap* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_fields(*this, *target);
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

bool CPMT::header_fits() const { return table_id == program_map_section && private_indicator == 0; }

template class CSectionTable<CPMT>;

void CPMT::Clear()
{
    streams.clear();
    descriptors.clear();
    CBaseMpegTable::Clear();
}

std::uint32_t CPMT::calc_section_length() const
{
    std::uint32_t length = PMT_fixed_length + descriptors.getSize();
    for (const auto& stream : streams)
        if (stream.second)
            length += stream_length + stream.second->descriptors.getSize();
    return length;
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
