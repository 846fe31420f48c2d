// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/SectionTable.h"
#include "mpegcore/syntax/SyntaxCopier.h"
#include "mpegcore/syntax/TableSyntax.h"

#include <cstdint>

namespace mpegcore
{
template <class Table>
bool CSectionTable<Table>::read(Reader& reader)
{
    const auto fits = [this] { return table().header_fits(); };
    return read_section(reader, fits, [this](Reader& section) {
        return read_body(section, descriptor_dictionary, CRC_32,
                         [this](TableReader& io) { return Table::syntax(table(), io); });
    });
}

template <class Table>
bool CSectionTable<Table>::RenderTable()
{
    return render_section(CRC_32, [this](Writer& writer) {
        TableWriter io(writer);
        return Table::syntax(table(), io);
    });
}

template <class Table>
void CSectionTable<Table>::copyTo(Table* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_header(*target);
    copy_walked(table(), *target, [](auto& object, auto& io) { return Table::syntax(object, io); });
    target->CRC_32 = CRC_32;
    target->section_length = static_cast<std::uint16_t>(target->calc_section_length());
}

template <class Table>
void CSectionTable<Table>::print(FieldPrinter& printer) const
{
    print_section(printer,
                  [this](SyntaxPrinter& io) { return Table::syntax(table(), io) && io.bits(32, "CRC_32", CRC_32); });
}
} // namespace mpegcore
