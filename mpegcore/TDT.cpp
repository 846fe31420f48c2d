// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/TDT.h"

#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint8_t time_date_section = 0x70;
} // namespace

CTDT::CTDT(std::uint64_t utc, unsigned char* data, unsigned long size) : CBaseMpegTable(data, size), UTC_time(utc)
{
    table_id = time_date_section;
    section_syntax_indicator = 0;
    private_indicator = 0;
    reserved = 3;
    section_length = UTC_time_size;
}

bool CTDT::read(Reader& reader)
{
    return CBaseMpegTable::read(reader) && reader.availableBytes() >= UTC_time_size && reader.getBits<40>(UTC_time);
}

void CTDT::print(FieldPrinter& printer) const
{
    print_section(printer, [this](SyntaxPrinter& io) { return io.time("UTC_time", UTC_time); });
}

std::uint32_t CTDT::calc_section_length() const { return UTC_time_size; }

bool CTDT::RenderTable()
{
    return render_section_without_crc(
        [this](Writer& writer) { return TableWriter(writer).time("UTC_time", UTC_time); });
}

void CTDT::copyTo(CTDT* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_header(*target);
    target->UTC_time = UTC_time;
    target->section_length = static_cast<std::uint16_t>(target->calc_section_length());
}
} // namespace mpegcore
