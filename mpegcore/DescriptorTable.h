// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/SectionTable.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstdint>

namespace mpegcore
{
/// What conditional access and transport stream description sections share: the long header and one descriptor loop.
class CDescriptorTable : public CSectionTable<CDescriptorTable>
{
public:
    using CSectionTable::CSectionTable;

    void Clear() override;
    /// table_id is not checked. A section without descriptors leaves CRC_32 at 0; that is meant.
    bool read(Reader& reader) override;
    std::uint32_t calc_section_length() const override;

    std::uint32_t reserved = 0; ///< 18 bits, behind section_length
    ZQDescriptorList descriptors{ZQDescriptorType::TS};

private:
    friend CSectionTable;

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};

extern template class CSectionTable<CDescriptorTable>;
} // namespace mpegcore
