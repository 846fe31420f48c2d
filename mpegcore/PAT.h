// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegProgram.h"
#include "mpegcore/SectionTable.h"

#include <cstdint>
#include <map>

namespace mpegcore
{
/// Program association section (ISO/IEC 13818-1, 2.4.4.3).
class CPAT : public CSectionTable<CPAT>
{
public:
    using CSectionTable::CSectionTable;

    void Clear() override;
    /// table_id is not checked. A section without a program leaves CRC_32 at 0; that is meant.
    bool read(Reader& reader) override;
    std::uint32_t calc_section_length() const override;
    /// Compares the fields but the reserved ones and CRC_32, and the number of programs; not the programs.
    bool operator!=(const CPAT& other) const;

    std::uint16_t transport_stream_id = 0;
    std::uint8_t reserved = 0; ///< the 2 bits behind transport_stream_id
    /// By PID, which is meant; of two the last stays. copyTo() deliberately leaves those of its target, also in place
    /// of a copy under the same PID.
    std::map<std::uint16_t, CBaseMpegProgram> programs;

private:
    friend CSectionTable;

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};

extern template class CSectionTable<CPAT>;
} // namespace mpegcore
