// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace zq_net
{
/// Counts what the headers of transport packets tell of losses (ISO/IEC 13818-1, 2.4.3.3).
class continuity_check
{
public:
    /// Whole packets of 188 bytes, each with its sync byte.
    void look_at(const unsigned char* packets, std::size_t size);
    /// What follows need not continue what was: another sender.
    void forget();

    /// Packets whose continuity_counter does not follow, each counted once however much is missing before it. Null
    /// packets, a discontinuity that is announced and one repetition of a packet are none.
    [[nodiscard]] std::uint64_t continuity_errors() const { return m_continuity_errors; }
    /// Packets with transport_error_indicator; nothing else of them is looked at.
    [[nodiscard]] std::uint64_t transport_errors() const { return m_transport_errors; }

private:
    static constexpr std::uint8_t unknown = 0x80;
    static constexpr std::uint8_t repeated = 0x40;

    /// For each PID the last continuity_counter, and one of the flags above. A stream has few of the 8192.
    using some_PIDs = std::array<std::uint8_t, 128>;

    [[nodiscard]] std::uint8_t& last_of(unsigned PID);
    void look_closer(const unsigned char* packet, std::uint8_t& last);

    std::array<std::unique_ptr<some_PIDs>, 64> m_last; // null: none of them came
    std::uint64_t m_continuity_errors = 0;
    std::uint64_t m_transport_errors = 0;
};
} // namespace zq_net
