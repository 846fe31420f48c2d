// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/UserPacketReader.h"

#include <cstdint>
#include <optional>

namespace mpegcore
{
/// ISCR in its long form counts elementary periods of the channel modulo 2^22 (ETSI EN 302 755, annex C).
constexpr std::uint32_t ISCR_range = 1U << 22;

/// The ISCR that came with a packet, if it has one in the long form.
std::optional<std::uint32_t> long_ISCR(const UserPacket& packet);

/// How far the ISCR `a` is ahead of `b`, from -2^21 on and below 2^21.
std::int32_t ISCR_difference(std::uint32_t a, std::uint32_t b);

/// Elementary periods from one packet of a stream of constant rate to the next, by its ISCRs.
class PacketPeriod
{
public:
    bool is_known() const { return m_period > 0; }
    double get() const { return m_period; }
    /// `packets` further on, ISCR had grown by `passed` periods modulo its range. False when that does not fit.
    bool learn(std::uint32_t passed, std::uint32_t packets);

private:
    static constexpr unsigned most_strikes = 3;

    double m_period = 0;
    double m_candidate = 0; ///< seen once
    double m_passed = 0;    ///< over m_packets
    double m_packets = 0;
    unsigned m_strikes = 0; ///< in a row that did not fit
};

/// Where a packet stands in its stream: so many packets behind one with an ISCR.
struct PacketPlace
{
    bool is_known = false;
    std::uint32_t ISCR = 0;
    std::uint32_t behind = 0;

    /// Its own ISCR.
    std::uint32_t time(const PacketPeriod& period) const;
};

/// Tells the places of the packets of one PLP.
class PacketClock
{
public:
    /// The place of the next packet. `period`, if there is one, learns from it.
    PacketPlace next(const UserPacket& packet, bool is_behind_gap, PacketPeriod* period);
    /// What comes does not follow.
    void reset() { m_last = {}; }

private:
    PacketPlace m_last;
};
} // namespace mpegcore
