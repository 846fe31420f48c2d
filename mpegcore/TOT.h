// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstdint>

namespace mpegcore
{
/// Time offset section (ETSI EN 300 468, 5.2.6).
class CTOT : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    void Clear() override;
    /// Deliberately also true for a section with a good CRC that is too short for its fields: the field where it ends
    /// and those behind it are 0 then.
    bool read(Reader& reader) override;
    std::uint32_t calc_section_length() const override;
    void print(FieldPrinter& printer) const override;
    /// Sets descriptors_loop_length. False, with `used` 0, when the section does not fit `buffer` or 4095 bytes of
    /// section_length.
    [[nodiscard]] bool RenderTable();
    void copyTo(CTOT* target) const;

    std::uint64_t UTC_time = 0;                ///< 40 bits: MJD and BCD hhmmss; CEventInfo converts
    std::uint8_t reserved = 0;                 ///< 4 bits, in front of descriptors_loop_length
    std::uint16_t descriptors_loop_length = 0; ///< as read or rendered last
    ZQDescriptorList descriptors{ZQDescriptorType::TS};
    /// Whole after rendering; after reading deliberately only the low 16 bits of the section's CRC.
    std::uint32_t CRC_32 = 0;

private:
    template <class Self, class Io>
    static bool fields(Self& t, Io& io);
};
} // namespace mpegcore
