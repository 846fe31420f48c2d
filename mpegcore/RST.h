// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/StandardTable.h"

namespace mpegcore
{
/// Running status section (ETSI EN 300 468, 5.2.8): table_id 0x71 on PID 0x0013, without a CRC.
class CRST : public CStandardTable<CRST, false>
{
public:
    using CStandardTable::CStandardTable;

    struct status
    {
        template <class Self, class Io>
        static bool syntax(Self& s, Io& io)
        {
            return io.bits(16, "transport_stream_id", s.transport_stream_id) &&
                   io.bits(16, "original_network_id", s.original_network_id) &&
                   io.bits(16, "service_id", s.service_id) && io.bits(16, "event_id", s.event_id) &&
                   io.bits(5, "reserved_future_use", s.reserved_future_use) &&
                   io.bits(3, "running_status", s.running_status);
        }

        std::uint16_t transport_stream_id = 0;
        std::uint16_t original_network_id = 0;
        std::uint16_t service_id = 0;
        std::uint16_t event_id = 0;
        std::uint8_t reserved_future_use = 0; ///< 5 bits
        std::uint8_t running_status = 0;      ///< 3 bits
    };

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io)
    {
        return io.entries(9, "events", t.events);
    }

    void copyTo(CRST* target) const
    {
        if (target == nullptr || target == this)
            return;
        copy_header(*target);
        target->events = events;
    }

    void clear_loops() { events.clear(); }

    std::vector<status> events;
};
} // namespace mpegcore
