// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/rtp_packet.h"

#include <cstddef>
#include <optional>

namespace zq_net
{
enum class rtp_mode
{
    automatic, ///< each datagram is looked at
    off,       ///< all are pieces of a transport stream
    on,        ///< all are RTP; anything else is dropped
};

/// Tells RTP from bare transport packets. A datagram whose bytes leave it open goes the way of those before it.
class datagram_kind
{
public:
    explicit datagram_kind(rtp_mode mode) : m_mode{mode} {}

    /// The RTP packet that a datagram is, or nothing for a bare one. `awaited`: bytes that the packet begun before
    /// still lacks, 0 without one.
    [[nodiscard]] std::optional<rtp_packet> look(const unsigned char* data, std::size_t size, std::size_t awaited = 0);
    /// True when what is no RTP has no place.
    [[nodiscard]] bool demands_rtp() const { return m_mode == rtp_mode::on; }

private:
    rtp_mode m_mode;
    bool m_was_rtp = false;
};
} // namespace zq_net
