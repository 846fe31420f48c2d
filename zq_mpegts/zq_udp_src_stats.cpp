// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_udp_src.h"

#include <algorithm>

namespace
{
GstStructure* leg_structure(const zq_net::leg_figures& leg)
{
    return gst_structure_new("application/x-zqudpsrc-leg-stats", "datagrams", G_TYPE_UINT64, leg.datagrams, "bytes",
                             G_TYPE_UINT64, leg.bytes, "kernel-drops", G_TYPE_UINT64, leg.kernel_drops, "truncated",
                             G_TYPE_UINT64, leg.truncated, "rejoins", G_TYPE_UINT64, leg.rejoins, "rtp-received",
                             G_TYPE_UINT64, leg.rtp.received, "rtp-lost", G_TYPE_UINT64, leg.rtp.lost, "rtp-duplicates",
                             G_TYPE_UINT64, leg.rtp.repeated, "rtp-second", G_TYPE_UINT64, leg.rtp.second,
                             "rtp-reordered", G_TYPE_UINT64, leg.rtp.reordered, "rtp-foreign", G_TYPE_UINT64,
                             leg.rtp.foreign, nullptr);
}

void append_leg(GValue& legs, const zq_net::leg_figures& leg)
{
    GValue value = G_VALUE_INIT;
    g_value_init(&value, GST_TYPE_STRUCTURE);
    g_value_take_boxed(&value, leg_structure(leg));
    gst_value_array_append_and_take_value(&legs, &value);
}
} // namespace

GstStructure* zq_udp_src::stats()
{
    const auto figures = m_input.figures();
    const zq_net::leg_figures& first = figures.legs[0];
    const zq_net::leg_figures& second = figures.legs[1];
    const auto sum = [&](auto member) { return first.*member + second.*member; };
    const auto rtp_sum = [&](auto member) { return first.rtp.*member + second.rtp.*member; };
    using leg = zq_net::leg_figures;
    using rtp = zq_net::rtp_merger::leg_counters;
    const std::uint64_t now = zq_net::real_time();
    const std::uint64_t last = std::max(first.last_arrival, second.last_arrival);
    const std::uint64_t age = last == 0 ? GST_CLOCK_TIME_NONE : now > last ? now - last : 0;
    GstStructure* const stats = gst_structure_new(
        "application/x-zqudpsrc-stats", "datagrams", G_TYPE_UINT64, sum(&leg::datagrams), "bytes", G_TYPE_UINT64,
        sum(&leg::bytes), "bit-rate", G_TYPE_UINT64, figures.bit_rate, "kernel-drops", G_TYPE_UINT64,
        sum(&leg::kernel_drops), "truncated", G_TYPE_UINT64, sum(&leg::truncated), "not-ts", G_TYPE_UINT64,
        figures.not_ts, "resync-bytes", G_TYPE_UINT64, figures.resync_bytes, "rtp-lost", G_TYPE_UINT64,
        figures.rtp_lost, "rtp-late", G_TYPE_UINT64, figures.rtp_late, "rtp-duplicates", G_TYPE_UINT64,
        rtp_sum(&rtp::repeated), "rtp-reordered", G_TYPE_UINT64, rtp_sum(&rtp::reordered), "sender-changes",
        G_TYPE_UINT64, figures.sender_changes, "senders", G_TYPE_UINT64, figures.senders, "continuity-errors",
        G_TYPE_UINT64, figures.continuity_errors, "transport-errors", G_TYPE_UINT64, figures.transport_errors,
        "rejoins", G_TYPE_UINT64, sum(&leg::rejoins), "last-packet-age", G_TYPE_UINT64, age, "buffer-size-asked",
        G_TYPE_INT, first.buffer_asked, "buffer-size-got", G_TYPE_INT, first.buffer_got, nullptr);
    GValue legs = G_VALUE_INIT;
    g_value_init(&legs, GST_TYPE_ARRAY);
    append_leg(legs, first);
    append_leg(legs, second);
    gst_structure_take_value(stats, "legs", &legs);
    return stats;
}
