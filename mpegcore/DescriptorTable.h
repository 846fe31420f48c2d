// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstdint>

namespace mpegcore
{
/// What conditional access and transport stream description sections share: the long header and one descriptor loop.
class CDescriptorTable : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    void Clear() override;
    /// table_id is not checked. A section without descriptors leaves CRC_32 at 0; that is meant.
    bool read(Reader& reader) override;
    std::uint32_t calc_section_length() const override;
    void print(FieldPrinter& printer) const override;
    /// False, with `used` 0, when the section does not fit `buffer` or 4095 bytes of section_length.
    [[nodiscard]] bool RenderTable();

    std::uint32_t reserved = 0; ///< 18 bits, behind section_length
    std::uint8_t version_number = 0;
    std::uint8_t current_next_indicator = 0;
    std::uint8_t section_number = 0;
    std::uint8_t last_section_number = 0;
    ZQDescriptorList descriptors{ZQDescriptorType::TS};
    std::uint32_t CRC_32 = 0;

protected:
    void copy_to(CDescriptorTable& target) const;

private:
    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};
} // namespace mpegcore
