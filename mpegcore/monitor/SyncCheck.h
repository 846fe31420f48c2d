// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/MonitorLimits.h"
#include "mpegcore/monitor/TR101290.h"

#include <cstdint>

namespace mpegcore
{
/// The checks 1.1 and 1.2: whether a stream is synchronised (ISO/IEC 13818-1, annex G.1), and since when.
class SyncCheck
{
public:
    SyncCheck(const MonitorLimits& limits, TR101290& checks) : m_limits(limits), m_checks(checks) {}

    /// A packet with a good sync byte. False while the packets only serve to be synchronised again.
    bool put_good(std::uint64_t now)
    {
        m_bad = 0;
        return m_is_synchronised || regain(now);
    }
    void put_bad(std::uint8_t sync_byte, std::uint64_t now);
    void lose(Finding finding, std::uint64_t value, std::uint64_t now);
    void tick(std::uint64_t now);

    bool is_synchronised() const { return m_is_synchronised; }
    /// When it was synchronised last; every limit begins there.
    std::uint64_t since() const { return m_since; }
    /// How often it was.
    std::uint64_t times() const { return m_times; }

private:
    bool regain(std::uint64_t now);

    const MonitorLimits& m_limits;
    TR101290& m_checks;
    bool m_is_synchronised = false;
    bool m_is_lost = false; ///< told so
    unsigned m_bad = 0;     ///< sync bytes in a row
    unsigned m_good = 0;
    std::uint64_t m_since = 0;
    std::uint64_t m_times = 0;
};
} // namespace mpegcore
