// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIPrinter.h"

#include "mpegcore/print/JsonPrinter.h"
#include "mpegcore/print/TextPrinter.h"
#include "mpegcore/syntax/SyntaxPrinter.h"

namespace mpegcore
{
namespace
{
template <class Record>
void print(FieldPrinter& printer, const Record& record)
{
    printer.open_record(nullptr);
    SyntaxPrinter io(printer);
    static_cast<void>(Record::syntax(record, io)); // false where stored lengths do not fit: printed up to there
    printer.close_record();
}

template <class Record>
std::string json_of(const Record& record)
{
    std::string line;
    const PrintOptions options;
    JsonPrinter printer(line, options);
    print(printer, record);
    return line;
}

template <class Record>
std::string text_of(const Record& record, unsigned indent)
{
    std::string text;
    const PrintOptions options;
    TextPrinter printer(text, indent, options);
    print(printer, record);
    return text;
}
} // namespace

std::string to_json(const T2MIHeader& header) { return json_of(header); }
std::string to_json(const DVBT2Timestamp& timestamp) { return json_of(timestamp); }
std::string to_json(const L1Current& L1) { return json_of(L1); }
std::string to_text(const T2MIHeader& header, unsigned indent) { return text_of(header, indent); }
std::string to_text(const DVBT2Timestamp& timestamp, unsigned indent) { return text_of(timestamp, indent); }
std::string to_text(const L1Current& L1, unsigned indent) { return text_of(L1, indent); }
} // namespace mpegcore
