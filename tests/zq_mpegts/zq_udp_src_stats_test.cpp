// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/RTP.h"
#include "support/made_interface.h"
#include "support/playing_udp_src.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace zq_udp_src_stats_test
{
using bytes = std::vector<unsigned char>;
using playing = support::playing_udp_src;
using support::eventually;
using support::joined;
using support::pattern;
using support::rtp_datagram;
using testing::ElementsAre;

struct free_structure
{
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
};
using structure = std::unique_ptr<GstStructure, free_structure>;

structure stats_of(const support::element& source)
{
    GstStructure* stats = nullptr;
    g_object_get(source.get(), "stats", &stats, nullptr);
    return structure{stats};
}

std::vector<std::string> fields_of(const GstStructure* of)
{
    std::vector<std::string> fields;
    for (int i = 0; i < gst_structure_n_fields(of); ++i) {
        const gchar* const name = gst_structure_nth_field_name(of, static_cast<guint>(i));
        fields.push_back(g_type_name(gst_structure_get_field_type(of, name)) + (' ' + std::string{name}));
    }
    return fields;
}

const GstStructure* leg_of(const structure& stats, guint index)
{
    return gst_value_get_structure(gst_value_array_get_value(gst_structure_get_value(stats.get(), "legs"), index));
}

guint64 figure(const GstStructure* of, const char* name)
{
    guint64 value = 0;
    EXPECT_TRUE(gst_structure_get_uint64(of, name, &value)) << name;
    return value;
}

bytes packet(unsigned char continuity_counter)
{
    bytes made = pattern(188);
    made[1] = 1;
    made[3] = static_cast<unsigned char>(0x10 | continuity_counter);
    return made;
}

TEST(UdpSrcStats, HaveTheseFieldsInAnyState)
{
    const auto source = support::parse("zqudpsrc");
    const structure stats = stats_of(source);
    EXPECT_STREQ(gst_structure_get_name(stats.get()), "application/x-zqudpsrc-stats");
    EXPECT_THAT(fields_of(stats.get()),
                ElementsAre("guint64 datagrams", "guint64 bytes", "guint64 bit-rate", "guint64 kernel-drops",
                            "guint64 truncated", "guint64 not-ts", "guint64 resync-bytes", "guint64 rtp-lost",
                            "guint64 rtp-late", "guint64 rtp-duplicates", "guint64 rtp-reordered",
                            "guint64 sender-changes", "guint64 senders", "guint64 continuity-errors",
                            "guint64 transport-errors", "guint64 rejoins", "guint64 last-packet-age",
                            "gint buffer-size-asked", "gint buffer-size-got", "GstValueArray legs"));
    ASSERT_EQ(gst_value_array_get_size(gst_structure_get_value(stats.get(), "legs")), 2U);
    for (guint leg = 0; leg < 2; ++leg) {
        EXPECT_STREQ(gst_structure_get_name(leg_of(stats, leg)), "application/x-zqudpsrc-leg-stats");
        EXPECT_THAT(fields_of(leg_of(stats, leg)),
                    ElementsAre("guint64 datagrams", "guint64 bytes", "guint64 kernel-drops", "guint64 truncated",
                                "guint64 rejoins", "guint64 rtp-received", "guint64 rtp-lost", "guint64 rtp-duplicates",
                                "guint64 rtp-second", "guint64 rtp-reordered", "guint64 rtp-foreign"));
    }
}

TEST(UdpSrcStats, CountErrorsOfPacketsAndBytesBetweenThem)
{
    playing to;
    bytes damaged = packet(2);
    damaged[1] |= 0x80; // transport_error_indicator
    const bytes behind_junk = joined({bytes(5, 0x11), packet(5), packet(6)});
    for (const bytes& datagram : {packet(0), packet(1), damaged, behind_junk})
        to.sender.send(datagram);
    EXPECT_TRUE(to.got(joined({packet(0), packet(1), damaged, packet(5), packet(6)})));
    EXPECT_TRUE(eventually([&] { return to.figure("datagrams") == 4; }));
    EXPECT_EQ(to.figure("bytes"), 3U * 188 + behind_junk.size());
    EXPECT_EQ(to.figure("transport-errors"), 1U);
    EXPECT_EQ(to.figure("continuity-errors"), 1U);
    EXPECT_EQ(to.figure("resync-bytes"), 5U);
    EXPECT_EQ(to.figure("not-ts"), 0U);
    EXPECT_EQ(to.figure("truncated"), 0U);
}

TEST(UdpSrcStats, CountAnRtpPacketThatComesWhenItCountsAsLost)
{
    playing to;
    to.sender.send(rtp_datagram(1, pattern(188, 1)));
    to.sender.send(rtp_datagram(3, pattern(188, 3)));
    ASSERT_TRUE(to.got(joined({pattern(188, 1), pattern(188, 3)})));
    to.sender.send(rtp_datagram(2, pattern(188, 2)));
    EXPECT_TRUE(eventually([&] { return to.figure("rtp-late") == 1; }));
    EXPECT_EQ(to.figure("rtp-lost"), 1U) << "never falls";
    EXPECT_EQ(figure(leg_of(stats_of(to.source), 0), "rtp-lost"), 0U) << "falls, as the leg did bring it";
    EXPECT_EQ(to.recorder.bytes().size(), 2U * 188);
}

TEST(UdpSrcStats, TellTheAgeOfTheLastPacketAndTheBitRateOfAFlow)
{
    playing to;
    const gint64 before = g_get_real_time();
    {
        const support::udp_traffic traffic{to.port, std::chrono::milliseconds{2}};
        EXPECT_TRUE(eventually([&] { return to.figure("bit-rate") > 0; }));
        EXPECT_LE(to.figure("bit-rate"), 8 * to.figure("bytes")) << "an interval is a second or more";
    }
    EXPECT_TRUE(eventually([&] { return to.figure("bit-rate") == 0; }));
    EXPECT_GE(to.figure("last-packet-age"), 2 * GST_SECOND) << "so long is a silence";
    EXPECT_LE(to.figure("last-packet-age"), static_cast<guint64>(g_get_real_time() - before) * 1000);
}

TEST(UdpSrcStats, TellOfEachLegWhatItBrought)
{
    const auto port2 = support::free_port();
    playing to{"port2=" + std::to_string(port2)};
    const support::udp_sender second{"127.0.0.1", port2};
    // The first leg loses 3, the second 1 and 2; each waits for the other, so that no packet has to.
    guint64 sent = 0;
    const auto bring = [&](const support::udp_sender& leg, const std::vector<std::uint16_t>& numbers) {
        for (const std::uint16_t number : numbers)
            leg.send(rtp_datagram(number, pattern(188, number)));
        sent += numbers.size();
        return eventually([&] { return to.figure("datagrams") == sent; });
    };
    ASSERT_TRUE(bring(to.sender, {0, 1, 2}));
    ASSERT_TRUE(bring(second, {0, 3}));
    ASSERT_TRUE(bring(to.sender, {4, 5}));
    ASSERT_TRUE(bring(second, {4, 4, 5}));
    // Another sender is foreign while the first leg carries the one of before.
    to.sender.send(rtp_datagram(5, pattern(188, 5)));
    second.send(rtp_datagram(900, pattern(188), 99));
    ASSERT_TRUE(eventually([&] { return to.figure("datagrams") == sent + 2; }));
    EXPECT_TRUE(to.got(joined(
        {pattern(188, 0), pattern(188, 1), pattern(188, 2), pattern(188, 3), pattern(188, 4), pattern(188, 5)})));
    const structure stats = stats_of(to.source);
    const auto figures = [&](guint leg) {
        std::vector<guint64> values;
        for (const char* name :
             {"datagrams", "rtp-received", "rtp-lost", "rtp-duplicates", "rtp-second", "rtp-foreign"})
            values.push_back(figure(leg_of(stats, leg), name));
        return values;
    };
    EXPECT_THAT(figures(0), ElementsAre(6U, 6U, 1U, 1U, 0U, 0U));
    EXPECT_THAT(figures(1), ElementsAre(6U, 5U, 2U, 1U, 3U, 1U));
    EXPECT_EQ(to.figure("rtp-lost"), 0U);
}

TEST(UdpSrcStats, BeginAnewWithTheNextStartAndStayUntilThen)
{
    playing to;
    to.sender.send(pattern(1316));
    ASSERT_TRUE(to.got(pattern(1316)));
    support::set_state(to.pipeline, GST_STATE_NULL);
    EXPECT_EQ(to.figure("datagrams"), 1U);
    support::set_state(to.pipeline, GST_STATE_PLAYING);
    EXPECT_EQ(to.figure("datagrams"), 0U);
}

TEST(UdpSrcStats, CountThatAGroupIsReceivedAnewWhereItsInterfaceWasMadeAgain)
{
    auto interface = std::make_unique<support::made_interface>();
    if (!interface->is_made())
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    playing to{"address=239.9.9.9 interface=zq0"};
    const auto send = [&](unsigned seed) { support::send_to_group("zq0", "239.9.9.9", to.port, pattern(188, seed)); };
    send(1);
    ASSERT_TRUE(to.got(pattern(188, 1)));
    interface.reset();
    interface = std::make_unique<support::made_interface>();
    ASSERT_TRUE(eventually([&] { return to.figure("rejoins") == 1; }));
    send(2);
    EXPECT_TRUE(to.got(joined({pattern(188, 1), pattern(188, 2)})));
    EXPECT_TRUE(to.recorder.buffers().back().discont);
    EXPECT_EQ(figure(leg_of(stats_of(to.source), 0), "rejoins"), 1U);
}
} // namespace zq_udp_src_stats_test
