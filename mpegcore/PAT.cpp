// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PAT.h"

#include "mpegcore/syntax/SectionTableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t PAT_fixed_length = 9;
constexpr std::uint32_t program_length = 4;
} // namespace

template <class Self, class Io>
bool CPAT::syntax(Self& t, Io& io)
{
    return io.bits(16, "transport_stream_id", t.transport_stream_id) && io.bits(2, "reserved", t.reserved) &&
           version_and_sections(t, io) && io.keyed_loop(program_length, "programs", t.programs, &CBaseMpegProgram::PID);
}

template class CSectionTable<CPAT>;

void CPAT::Clear()
{
    programs.clear();
    CBaseMpegTable::Clear();
}

bool CPAT::read(Reader& reader)
{
    return read_section(reader, [this](Reader& section) {
        set_to_zero(transport_stream_id, reserved, version_number, current_next_indicator, section_number,
                    last_section_number);
        const bool whole =
            read_body(section, descriptor_dictionary, CRC_32, [this](TableReader& io) { return syntax(*this, io); });
        if (section_length >= PAT_fixed_length + program_length)
            return whole;
        CRC_32 = 0;
        return true;
    });
}

std::uint32_t CPAT::calc_section_length() const
{
    return PAT_fixed_length + program_length * static_cast<std::uint32_t>(programs.size());
}

bool CPAT::operator!=(const CPAT& other) const
{
    return !same_header(other) || transport_stream_id != other.transport_stream_id ||
           version_number != other.version_number || current_next_indicator != other.current_next_indicator ||
           section_number != other.section_number || last_section_number != other.last_section_number ||
           programs.size() != other.programs.size();
}
} // namespace mpegcore
