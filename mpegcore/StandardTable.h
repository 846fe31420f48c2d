// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"
#include "mpegcore/syntax/Syntax.h"
#include "mpegcore/zqdescriptorlist.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// What the tables share that are their syntax and nothing else. `Table` states it for the bytes between section_length
/// and the CRC_32, if the section has one, and empties its loops in Clear().
template <class Table, bool HasCRC>
class CStandardTable : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    static constexpr bool has_CRC_32 = HasCRC;

    /// Replaces what the table held. table_id is not checked. False, with the table in part read, when the section is
    /// cut, its CRC_32 is wrong or its contents do not fill it exactly.
    bool read(Reader& reader) override
    {
        table().clear_loops();
        if constexpr (HasCRC)
            return read_section(reader, [this](Reader& section) { return read_contents(section); });
        else
            return reader.availableBytes() >= header_size && CBaseMpegTable::read(reader) &&
                   reader.readLimited(section_length, [this](Reader& section) { return read_contents(section); });
    }

    /// Above 4095, which no section can have, when the contents need more than 4096 bytes.
    std::uint32_t calc_section_length() const override
    {
        std::array<unsigned char, max_section_length + 1> room;
        Writer writer(room.data(), room.size());
        SyntaxWriter io(writer);
        const bool whole = Table::syntax(table(), io);
        writer.flush();
        return static_cast<std::uint32_t>(whole ? writer.bytesWritten() : room.size()) + trailer;
    }

    /// False, with `used` 0, when the section does not fit `buffer` or 4095 bytes of section_length.
    [[nodiscard]] bool RenderTable()
    {
        const auto body = [this](Writer& writer) {
            SyntaxWriter io(writer);
            return Table::syntax(static_cast<const Table&>(table()), io);
        };
        if constexpr (HasCRC)
            return render_section(CRC_32, body);
        else
            return render_section_without_crc(body);
    }

    void print(FieldPrinter& printer) const override
    {
        print_section(printer, [this](SyntaxPrinter& io) {
            return Table::syntax(table(), io) && (!HasCRC || io.bits(32, "CRC_32", CRC_32));
        });
    }

    void Clear() override
    {
        table().clear_loops();
        CBaseMpegTable::Clear();
    }

    /// As read or rendered last; 0 for a section without one.
    std::uint32_t CRC_32 = 0;

private:
    static constexpr std::uint32_t trailer = HasCRC ? crc_size : 0;

    Table& table() { return static_cast<Table&>(*this); }
    const Table& table() const { return static_cast<const Table&>(*this); }

    bool read_contents(Reader& section)
    {
        if (section.availableBytes() < trailer)
            return false;
        const std::uint64_t size = section.availableBytes() - trailer;
        const bool whole = section.readLimited(size, [&](Reader& body) {
            SyntaxReader io(body);
            io.open_body(size);
            return Table::syntax(table(), io) && body.availableBytes() == 0;
        });
        return whole && (!HasCRC || section.getBits<32>(CRC_32));
    }
};

/// version_number to last_section_number of the long header.
struct SectionVersion
{
    template <class Self, class Io>
    static bool syntax(Self& v, Io& io)
    {
        return io.bits(5, "version_number", v.version_number) &&
               io.bits(1, "current_next_indicator", v.current_next_indicator) &&
               io.bits(8, "section_number", v.section_number) &&
               io.bits(8, "last_section_number", v.last_section_number);
    }

    std::uint8_t version_number = 0;
    std::uint8_t current_next_indicator = 0;
    std::uint8_t section_number = 0;
    std::uint8_t last_section_number = 0;
};
} // namespace mpegcore
