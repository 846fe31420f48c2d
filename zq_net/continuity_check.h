// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace zq_net
{
/// Counts what the headers of transport packets tell of losses (ISO/IEC 13818-1, 2.4.3.3).
class continuity_check
{
public:
    continuity_check() { m_last.fill(unknown); }

    /// Whole packets of 188 bytes, each with its sync byte.
    void look_at(const unsigned char* packets, std::size_t size);
    /// What follows need not continue what was: another sender.
    void forget() { m_last.fill(unknown); }

    /// Packets whose continuity_counter does not follow, each counted once however much is missing before it. Null
    /// packets, a discontinuity that is announced and one repetition of a packet are none.
    [[nodiscard]] std::uint64_t continuity_errors() const { return m_continuity_errors; }
    /// Packets with transport_error_indicator; nothing else of them is looked at.
    [[nodiscard]] std::uint64_t transport_errors() const { return m_transport_errors; }

private:
    static constexpr std::uint8_t unknown = 0x80;
    static constexpr std::uint8_t repeated = 0x40;

    void look_closer(const unsigned char* packet, std::uint8_t& last);

    std::array<std::uint8_t, 8192> m_last{}; // per PID: the last continuity_counter, and one of the flags above
    std::uint64_t m_continuity_errors = 0;
    std::uint64_t m_transport_errors = 0;
};
} // namespace zq_net
