// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BaseMpegTable.h"

#include "mpegcore/CRC.h"
#include "mpegcore/syntax/Syntax.h"

#include <algorithm>

namespace mpegcore
{
CBaseMpegTable::CBaseMpegTable(unsigned char* data, unsigned long size)
    : buffer(data != nullptr ? data : new unsigned char[size]()), capacity(size), owns_buffer(data == nullptr ? 1 : 0)
{}

CBaseMpegTable::~CBaseMpegTable()
{
    if (owns_buffer != 0)
        delete[] buffer;
}

void CBaseMpegTable::Clear()
{
    if (buffer != nullptr)
        std::fill_n(buffer, capacity, static_cast<unsigned char>(0));
    used = 0;
}

bool CBaseMpegTable::read(Reader& reader)
{
    if (reader.bitsLeft() == 0)
        return true;
    table_id = section_syntax_indicator = private_indicator = reserved = 0;
    section_length = 0;
    // A short header leaves its later fields zero; the result says nothing about it.
    SyntaxReader io(reader);
    static_cast<void>(header(*this, io));
    return true;
}

bool CBaseMpegTable::write(Writer& writer)
{
    section_length = static_cast<std::uint16_t>(calc_section_length());
    SyntaxWriter io(writer);
    static_cast<void>(header(static_cast<const CBaseMpegTable&>(*this), io));
    return true;
}

void CBaseMpegTable::print(FieldPrinter& printer) const
{
    print_section(printer, [](SyntaxPrinter&) { return true; });
}

bool CBaseMpegTable::AddData(const unsigned char* data, unsigned long len)
{
    if (buffer == nullptr || used >= capacity || len >= capacity - used)
        return false;
    std::copy_n(data, len, buffer + used);
    used += len;
    return true;
}

void CBaseMpegTable::copy_header(CBaseMpegTable& to) const
{
    to.table_id = table_id;
    to.section_syntax_indicator = section_syntax_indicator;
    to.private_indicator = private_indicator;
    to.reserved = reserved;
    to.section_length = section_length;
}

bool CBaseMpegTable::same_header(const CBaseMpegTable& other) const
{
    return table_id == other.table_id && section_syntax_indicator == other.section_syntax_indicator &&
           private_indicator == other.private_indicator && section_length == other.section_length;
}

bool CBaseMpegTable::section_is_good(const unsigned char* section, std::uint64_t available) const
{
    if (available < header_size + section_length)
        return false;
    return crc32_mpeg2(section, header_size + section_length) == 0;
}

bool CBaseMpegTable::announce(std::size_t trailer)
{
    const std::uint32_t announced = calc_section_length();
    if (buffer == nullptr || announced < trailer || announced > max_section_length ||
        header_size + announced > capacity)
        return false;
    section_length = static_cast<std::uint16_t>(announced);
    return true;
}

bool CBaseMpegTable::append_crc(std::uint32_t& crc_32)
{
    crc_32 = crc32_mpeg2(buffer, used);
    Writer writer(buffer + used, crc_size);
    writer.putBits<32>(crc_32);
    used += crc_size;
    return true;
}
} // namespace mpegcore
