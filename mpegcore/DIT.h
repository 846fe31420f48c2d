// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/StandardTable.h"

namespace mpegcore
{
/// Discontinuity information section (ETSI EN 300 468, 7.1.1): table_id 0x7E on PID 0x001E of partial transport
/// streams, without a CRC.
class CDIT : public CStandardTable<CDIT, false>
{
public:
    using CStandardTable::CStandardTable;

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io)
    {
        return io.bits(1, "transition_flag", t.transition_flag) &&
               io.bits(7, "reserved_future_use", t.reserved_future_use);
    }

    void copyTo(CDIT* target) const
    {
        if (target == nullptr || target == this)
            return;
        copy_header(*target);
        target->transition_flag = transition_flag;
        target->reserved_future_use = reserved_future_use;
    }

    void clear_loops() {}

    std::uint8_t transition_flag = 0;     ///< 1 when the source changed, 0 when only the selection did
    std::uint8_t reserved_future_use = 0; ///< 7 bits
};
} // namespace mpegcore
