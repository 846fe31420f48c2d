// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegProgram.h"
#include "mpegcore/BaseMpegTable.h"

#include <cstdint>
#include <map>

namespace mpegcore
{
/// Program association section (ISO/IEC 13818-1, 2.4.4.3).
class CPAT : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    void Clear() override;
    /// table_id is not checked. A section without a program leaves CRC_32 at 0; that is meant.
    bool read(Reader& reader) override;
    std::uint32_t calc_section_length() const override;
    void print(FieldPrinter& printer) const override;
    /// False, with `used` 0, when the section does not fit `buffer` or 4095 bytes of section_length.
    [[nodiscard]] bool RenderTable();
    /// Programs of `target` stay, also in place of a copy under the same PID; that is meant.
    void copyTo(CPAT* target) const;
    /// Compares the fields but the reserved ones and CRC_32, and the number of programs; not the programs.
    bool operator!=(const CPAT& other) const;

    std::uint16_t transport_stream_id = 0;
    std::uint8_t reserved = 0; ///< the 2 bits behind transport_stream_id
    std::uint8_t version_number = 0;
    std::uint8_t current_next_indicator = 0;
    std::uint8_t section_number = 0;
    std::uint8_t last_section_number = 0;
    std::map<std::uint16_t, CBaseMpegProgram> programs; ///< by PID, which is meant; of two the last stays
    std::uint32_t CRC_32 = 0;

private:
    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};
} // namespace mpegcore
