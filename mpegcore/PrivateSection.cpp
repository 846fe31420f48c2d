// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PrivateSection.h"

#include "mpegcore/AIT.h"
#include "mpegcore/BAT.h"
#include "mpegcore/CAT.h"
#include "mpegcore/DIT.h"
#include "mpegcore/EIT.h"
#include "mpegcore/NIT.h"
#include "mpegcore/PAT.h"
#include "mpegcore/PMT.h"
#include "mpegcore/RST.h"
#include "mpegcore/SDT.h"
#include "mpegcore/SIT.h"
#include "mpegcore/SpliceInfoSection.h"
#include "mpegcore/TDT.h"
#include "mpegcore/TOT.h"
#include "mpegcore/TSDT.h"
#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
template <class Table>
std::unique_ptr<CBaseMpegTable> make()
{
    return std::make_unique<Table>(nullptr, 0);
}

struct TableClass
{
    std::uint8_t first_table_id;
    std::uint8_t last_table_id;
    std::unique_ptr<CBaseMpegTable> (*make)();
};

constexpr TableClass classes[]{
    {0x00, 0x00, make<CPAT>}, {0x01, 0x01, make<CCAT>},
    {0x02, 0x02, make<CPMT>}, {0x03, 0x03, make<CTSDT>},
    {0x40, 0x41, make<CNIT>}, {0x42, 0x42, make<CSDT>},
    {0x46, 0x46, make<CSDT>}, {0x4A, 0x4A, make<CBAT>},
    {0x4E, 0x6F, make<CEIT>}, {0x70, 0x70, make<CTDT>},
    {0x71, 0x71, make<CRST>}, {0x73, 0x73, make<CTOT>},
    {0x74, 0x74, make<CAIT>}, {0x7E, 0x7E, make<CDIT>},
    {0x7F, 0x7F, make<CSIT>}, {0xFC, 0xFC, make<CSpliceInfoSection>},
};

std::unique_ptr<CBaseMpegTable> make_table(std::uint8_t table_id)
{
    for (const auto& one : classes)
        if (table_id >= one.first_table_id && table_id <= one.last_table_id)
            return one.make();
    return nullptr;
}

bool read(CBaseMpegTable& table, const unsigned char* section, std::size_t size)
{
    // The reader's interface is not const; it does not write.
    CBaseMpegTable::Reader reader(const_cast<unsigned char*>(section), size);
    table.descriptor_dictionary = ZQDescriptorType::Standard;
    return table.read(reader);
}
} // namespace

template <class Self, class Io>
bool CPrivateSection::syntax(Self& t, Io& io)
{
    const std::size_t fixed = t.fixed_size();
    if (fixed == 0)
        return io.rest("private_data_byte", t.private_data_byte);
    return io.bits(16, "table_id_extension", t.table_id_extension) && io.bits(2, "reserved", t.reserved) &&
           io.bits(5, "version_number", t.version_number) &&
           io.bits(1, "current_next_indicator", t.current_next_indicator) &&
           io.bits(8, "section_number", t.section_number) && io.bits(8, "last_section_number", t.last_section_number) &&
           io.bytes(t.section_length - fixed, "private_data_byte", t.private_data_byte) &&
           io.bits(32, "CRC_32", t.CRC_32);
}

bool CPrivateSection::read(Reader& reader)
{
    if (reader.availableBytes() < header_size)
        return false;
    CBaseMpegTable::read(reader);
    return reader.availableBytes() >= section_length && reader.readLimited(section_length, [this](Reader& body) {
        TableReader io(body);
        io.open_body(section_length);
        return syntax(*this, io);
    });
}

std::uint32_t CPrivateSection::calc_section_length() const
{
    return static_cast<std::uint32_t>(fixed_size() + private_data_byte.size());
}

void CPrivateSection::print(FieldPrinter& printer) const
{
    print_section(printer, [this](SyntaxPrinter& io) { return syntax(*this, io); });
}

std::unique_ptr<CBaseMpegTable> table_of_section(const unsigned char* section, std::size_t size)
{
    if (size == 0)
        return nullptr;
    if (auto table = make_table(section[0]); table != nullptr && read(*table, section, size))
        return table;
    auto any = std::make_unique<CPrivateSection>(nullptr, 0);
    if (!read(*any, section, size))
        return nullptr;
    return any;
}
} // namespace mpegcore
