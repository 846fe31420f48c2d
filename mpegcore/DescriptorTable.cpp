// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/DescriptorTable.h"

#include "mpegcore/syntax/SectionTableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t DescriptorTable_fixed_length = 9;
}

template <class Self, class Io>
bool CDescriptorTable::syntax(Self& t, Io& io)
{
    return io.bits(18, "reserved", t.reserved) && version_and_sections(t, io) &&
           io.descriptors(io.body_left(), "descriptors", t.descriptors);
}

template class CSectionTable<CDescriptorTable>;

void CDescriptorTable::Clear()
{
    descriptors.clear();
    CBaseMpegTable::Clear();
}

bool CDescriptorTable::read(Reader& reader)
{
    return read_section(reader, [this](Reader& section) {
        set_to_zero(reserved, version_number, current_next_indicator, section_number, last_section_number);
        const bool whole =
            read_body(section, descriptor_dictionary, CRC_32, [this](TableReader& io) { return syntax(*this, io); });
        if (section_length > DescriptorTable_fixed_length)
            return whole;
        CRC_32 = 0;
        return true;
    });
}

std::uint32_t CDescriptorTable::calc_section_length() const
{
    return DescriptorTable_fixed_length + descriptors.getSize();
}
} // namespace mpegcore
