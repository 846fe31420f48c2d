// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/nanoseconds.h"

#include <cstdint>

namespace zq_net
{
/// The media delivery index of one stream (RFC 4445), over intervals of one second: the delay factor, which is how much
/// a buffer of the stream's rate would fill and drain, and the media loss rate.
class media_delivery_index
{
public:
    struct figures
    {
        std::uint64_t intervals = 0;         ///< that are over; without one the next three say nothing
        std::uint64_t delay_factor = 0;      ///< ns; 0 in silence, and while no media rate is known
        std::uint64_t media_loss_rate = 0;   ///< transport packets lost in the last interval
        std::uint64_t media_rate = 0;        ///< bits a second, that the delay factor was measured against
        std::uint64_t lost = 0;              ///< transport packets, of all time
        std::uint64_t seconds_with_loss = 0; ///< intervals
    };

    /// `media_rate`: bits of media a second, as the stream is sent; 0: what came in the interval before stands for it
    /// unless something of it was lost, so that the first interval, and each behind silence, has no delay factor. One
    /// that is off by 1 % adds 10 ms.
    explicit media_delivery_index(std::uint64_t media_rate = 0) : m_nominal_rate(media_rate) {}

    /// As the constructor's, from the next interval on.
    void set_media_rate(std::uint64_t media_rate) { m_nominal_rate = media_rate; }

    /// `size` bytes of media came at `arrival`, ns of a clock that does not go back.
    void put(std::uint64_t size, std::uint64_t arrival);
    /// So many transport packets were found missing.
    void add_lost(std::uint64_t packets) { m_lost += packets; }
    /// Nothing has come up to `now`: ends intervals that are over.
    void tick(std::uint64_t now);

    const figures& last() const { return m_figures; }

private:
    void finish_interval();
    void open(std::uint64_t now);

    std::uint64_t m_nominal_rate;
    figures m_figures;
    bool m_is_open = false;
    std::uint64_t m_begin = 0; ///< of the interval
    std::uint64_t m_rate = 0;  ///< in use in it; 0: none is known
    std::uint64_t m_bytes = 0; ///< that came in it
    std::uint64_t m_lost = 0;
    bool m_is_whole = true; ///< nothing was lost in the interval before
    // What the buffer holds, as the time that it lasts: ns.
    double m_lowest = 0, m_highest = 0;
};
} // namespace zq_net
