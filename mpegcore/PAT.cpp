// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PAT.h"

#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t fixed_length = 9;
constexpr std::uint32_t program_length = 4;
} // namespace

template <class Self, class Io>
bool CPAT::syntax(Self& t, Io& io)
{
    return io.bits(16, "transport_stream_id", t.transport_stream_id) && io.bits(2, "reserved", t.reserved) &&
           version_and_sections(t, io) && io.keyed_loop(program_length, "programs", t.programs, &CBaseMpegProgram::PID);
}

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
        const bool whole = read_body(section, CRC_32, [this](TableReader& io) { return syntax(*this, io); });
        if (section_length >= fixed_length + program_length)
            return whole;
        CRC_32 = 0;
        return true;
    });
}

void CPAT::print(FieldPrinter& printer) const
{
    print_section(printer, [this](SyntaxPrinter& io) { return syntax(*this, io) && io.bits(32, "CRC_32", CRC_32); });
}

std::uint32_t CPAT::calc_section_length() const
{
    return fixed_length + program_length * static_cast<std::uint32_t>(programs.size());
}

bool CPAT::RenderTable()
{
    return render_section(CRC_32, [this](Writer& writer) {
        TableWriter io(writer);
        return syntax(*this, io);
    });
}

void CPAT::copyTo(CPAT* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_header(*target);
    target->transport_stream_id = transport_stream_id;
    target->reserved = reserved;
    copy_version_and_sections(*this, *target);
    target->programs.insert(programs.begin(), programs.end());
    target->CRC_32 = CRC_32;
    target->section_length = static_cast<std::uint16_t>(target->calc_section_length());
}

bool CPAT::operator!=(const CPAT& other) const
{
    return !same_header(other) || transport_stream_id != other.transport_stream_id ||
           version_number != other.version_number || current_next_indicator != other.current_next_indicator ||
           section_number != other.section_number || last_section_number != other.last_section_number ||
           programs.size() != other.programs.size();
}
} // namespace mpegcore
