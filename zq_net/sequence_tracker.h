// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <bitset>
#include <cstdint>

namespace zq_net
{
/// The number nearest to `near` whose low 16 bits are `sequence_number`: carries sequence numbers over their wrap.
[[nodiscard]] constexpr std::uint64_t extend_sequence(std::uint64_t near, std::uint16_t sequence_number)
{
    const auto distance = static_cast<std::int16_t>(sequence_number - static_cast<std::uint16_t>(near));
    return near + static_cast<std::uint64_t>(static_cast<std::int64_t>(distance));
}

/// Follows the sequence numbers of one sender on one way (RFC 3550, A.1, but without probation: a receiver that was
/// pointed at a stream takes its first packet).
class sequence_tracker
{
public:
    enum class step
    {
        next,      ///< the number that was due, or the first of all
        ahead,     ///< numbers were left out
        behind,    ///< one of those that were left out
        repeated,  ///< seen before
        strange,   ///< far off: a broken packet, or the first of a sender that began anew
        restarted, ///< follows a strange one: counting began anew with that one
    };

    step see(std::uint16_t sequence_number);

    /// The number that the next one is measured by.
    [[nodiscard]] std::uint16_t highest() const { return m_highest; }
    /// Packets seen, without repeated and strange ones.
    [[nodiscard]] std::uint64_t received() const { return m_received; }
    /// Numbers left out so far. Falls when one comes late.
    [[nodiscard]] std::uint64_t lost() const { return m_lost; }

private:
    static constexpr std::uint16_t max_dropout = 3000;
    static constexpr std::uint16_t max_misorder = 100;
    static constexpr std::size_t remembered = 128; // a power of 2 above max_misorder

    void begin(std::uint16_t sequence_number);

    bool m_started = false;
    bool m_suspects = false;
    std::uint16_t m_highest = 0;
    std::uint16_t m_after_strange = 0;
    std::bitset<remembered> m_seen; // by the low bits of the number
    std::uint64_t m_received = 0;
    std::uint64_t m_lost = 0;
};
} // namespace zq_net
