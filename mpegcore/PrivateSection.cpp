// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PrivateSection.h"

#include "mpegcore/parser/TableRegistry.h"
#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
template <class... Entries>
struct TableMakers
{
    /// The table that the table_id stands for, or null.
    static std::unique_ptr<CBaseMpegTable> make(std::uint8_t table_id)
    {
        std::unique_ptr<CBaseMpegTable> table;
        static_cast<void>((make_entry<Entries>(table_id, table) || ...));
        return table;
    }

private:
    template <class Entry>
    static bool make_entry(std::uint8_t table_id, std::unique_ptr<CBaseMpegTable>& table)
    {
        if (table_id < Entry::first_table_id || table_id > Entry::last_table_id)
            return false;
        table = std::make_unique<typename Entry::Table>(nullptr, 0);
        return true;
    }
};

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
    if (auto table = tables<TableMakers>::make(section[0]); table != nullptr && read(*table, section, size))
        return table;
    auto any = std::make_unique<CPrivateSection>(nullptr, 0);
    if (!read(*any, section, size))
        return nullptr;
    return any;
}
} // namespace mpegcore
