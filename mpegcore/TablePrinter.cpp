// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/TablePrinter.h"

#include "mpegcore/print/JsonPrinter.h"
#include "mpegcore/print/TextPrinter.h"

namespace mpegcore
{
namespace
{
template <class Structure>
void print_record(FieldPrinter& printer, const Structure& structure)
{
    printer.open_record(nullptr);
    structure.print(printer);
    printer.close_record();
}
} // namespace

void append_json(std::string& line, const CBaseMpegTable& table, const PrintOptions& options)
{
    JsonPrinter printer(line, options);
    print_record(printer, table);
}

void append_json(std::string& line, const base_descriptor& descriptor, const PrintOptions& options)
{
    JsonPrinter printer(line, options);
    print_record(printer, descriptor);
}

void append_text(std::string& text, const CBaseMpegTable& table, unsigned indent, const PrintOptions& options)
{
    TextPrinter printer(text, indent, options);
    print_record(printer, table);
}

void append_text(std::string& text, const base_descriptor& descriptor, unsigned indent, const PrintOptions& options)
{
    TextPrinter printer(text, indent, options);
    print_record(printer, descriptor);
}

std::string to_json(const CBaseMpegTable& table, const PrintOptions& options)
{
    std::string line;
    append_json(line, table, options);
    return line;
}

std::string to_json(const base_descriptor& descriptor, const PrintOptions& options)
{
    std::string line;
    append_json(line, descriptor, options);
    return line;
}

std::string to_text(const CBaseMpegTable& table, const PrintOptions& options)
{
    std::string text;
    append_text(text, table, 0, options);
    return text;
}

std::string to_text(const base_descriptor& descriptor, const PrintOptions& options)
{
    std::string text;
    append_text(text, descriptor, 0, options);
    return text;
}
} // namespace mpegcore
