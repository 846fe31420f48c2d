// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// A section of any kind as a private section (ISO/IEC 13818-1, 2.4.4.11): its header, and its body as bytes. For
/// reading and printing.
class CPrivateSection : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    /// False when the section is not whole. CRC_32 is not checked.
    bool read(Reader& reader) override;
    std::uint32_t calc_section_length() const override;
    void print(FieldPrinter& printer) const override;

    // Only where section_syntax_indicator is 1 and the section is long enough, as CRC_32.
    std::uint16_t table_id_extension = 0;
    std::uint8_t reserved = 0; ///< 2 bits, behind table_id_extension
    std::uint8_t version_number = 0;
    std::uint8_t current_next_indicator = 0;
    std::uint8_t section_number = 0;
    std::uint8_t last_section_number = 0;
    std::vector<unsigned char> private_data_byte;
    std::uint32_t CRC_32 = 0;

private:
    /// Bytes of the fields around private_data_byte.
    std::size_t fixed_size() const { return section_syntax_indicator != 0 && section_length >= 9 ? 9 : 0; }

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};

/// The section as the class of its table_id, its descriptor loops read by the standards, or as a CPrivateSection when
/// there is no such class, or when it refuses the section. Null when the section is not whole.
[[nodiscard]] std::unique_ptr<CBaseMpegTable> table_of_section(const unsigned char* section, std::size_t size);
} // namespace mpegcore
