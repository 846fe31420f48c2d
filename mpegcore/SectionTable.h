// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"

#include <cstdint>

namespace mpegcore
{
/// What tables with the long header and CRC_32 share (ISO/IEC 13818-1, 2.4.4): `Table`, which derives from it, states
/// its body from table_id_extension to the CRC_32 in a `syntax`; reading, rendering, copying and printing follow.
template <class Table>
class CSectionTable : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    /// One section. False when it is incomplete, its CRC is bad or its body does not hold its fields.
    bool read(Reader& reader) override;
    /// One section. False, with `used` 0, when it does not fit `buffer` or 4095 bytes of section_length.
    [[nodiscard]] bool RenderTable();
    /// Replaces the fields and entries of `target`, with lengths as the entries need them.
    void copyTo(Table* target) const;
    void print(FieldPrinter& printer) const override;

    std::uint8_t version_number = 0;
    std::uint8_t current_next_indicator = 0;
    std::uint8_t section_number = 0;
    std::uint8_t last_section_number = 0;
    std::uint32_t CRC_32 = 0;

protected:
    /// What a class makes of a header before anything else is read.
    bool header_fits() const { return true; }

    Table& table() { return static_cast<Table&>(*this); }
    const Table& table() const { return static_cast<const Table&>(*this); }
};
} // namespace mpegcore
