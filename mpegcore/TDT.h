// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"

#include <cstdint>

namespace mpegcore
{
/// Time and date section (ETSI EN 300 468, 5.2.5). It has no CRC.
class CTDT : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    static constexpr bool has_CRC_32 = false;

    /// A table ready to render. Deliberately, the bit behind section_syntax_indicator is 0, although DVB sets it.
    CTDT(std::uint64_t utc, unsigned char* data, unsigned long size);

    /// Ignores section_length; false only when fewer than 5 bytes follow the header.
    bool read(Reader& reader) override;
    std::uint32_t calc_section_length() const override;
    void print(FieldPrinter& printer) const override;
    /// False, with `used` 0, when `buffer` has fewer than 8 bytes.
    [[nodiscard]] bool RenderTable();
    void copyTo(CTDT* target) const;

    static constexpr std::uint32_t UTC_time_size = 5; ///< bytes
    std::uint64_t UTC_time = 0;                       ///< 40 bits: MJD and BCD hhmmss; CEventInfo converts
};
} // namespace mpegcore
