// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/RTP.h"
#include "support/kernel_stamps.h"
#include "support/made_interface.h"
#include "support/net_sandbox.h"
#include "support/playing_udp_src.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace zq_udp_src_settings_test
{
using bytes = std::vector<unsigned char>;
using playing = support::playing_udp_src;
using support::eventually;
using support::joined;
using support::pattern;
using support::rtp_datagram;

TEST(UdpSrcAlign, LeavesBytesAsTheyComeWhenItIsOff)
{
    playing to{"align=false"};
    to.sender.send(bytes(500, 0x11));
    EXPECT_TRUE(to.got(bytes(500, 0x11)));
    EXPECT_EQ(to.figure("not-ts"), 0U);
}

TEST(UdpSrcAlign, FindsPacketsAcrossDatagramsUnlessItIsOff)
{
    playing to;
    const bytes packets = pattern(1316);
    to.sender.send({packets.begin(), packets.begin() + 500});
    to.sender.send({packets.begin() + 500, packets.end()});
    EXPECT_TRUE(to.got(packets));
}

TEST(UdpSrcRtp, IsTakenForBytesInFrontOfPacketsWhenItIsOff)
{
    playing to{"rtp=off"};
    to.sender.send(rtp_datagram(9, pattern(1316, 1)));
    to.sender.send(rtp_datagram(3, pattern(1316, 2)));
    EXPECT_TRUE(to.got(joined({pattern(1316, 1), pattern(1316, 2)})));
    EXPECT_EQ(to.figure("resync-bytes"), 24U);
}

TEST(UdpSrcAddress, MayBeOfIPv6)
{
    const support::made_interface interface;
    if (!interface.has_ipv6())
        GTEST_SKIP() << "needs a network of its own with IPv6, and the program ip";
    for (const std::string address : {"2001:db8:0::5", "fe80::5%zq0", "ff3e::9", "ff02::9%zq0"}) {
        playing to{"address=" + address + (address.find('%') == std::string::npos ? " interface=zq0" : "")};
        support::send_to_group("zq0", address.substr(0, address.find('%')), to.port, pattern(188));
        EXPECT_TRUE(to.got(pattern(188))) << address;
    }
}

TEST(UdpSrcSourceFilter, TakesOfAGroupOnlyWhatItsAddressesSend)
{
    const support::made_interface interface;
    if (!interface.is_made() ||
        !support::run_quietly("ip addr add 192.0.2.6/26 dev zq0 && ip addr add 192.0.2.7/26 dev zq0"))
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    playing to{"address=232.9.9.9 interface=zq0 source-filter=192.0.2.5,192.0.2.7"};
    for (const unsigned last : {5U, 6U, 7U})
        support::send_to_group("zq0", "232.9.9.9", to.port, pattern(188, last), "192.0.2." + std::to_string(last));
    EXPECT_TRUE(to.got(joined({pattern(188, 5), pattern(188, 7)})));
}

TEST(UdpSrcTime, IsThatOfTheArrivalHoweverLateADatagramIsRead)
{
    const support::kernel_stamps stamps;
    playing to;
    const auto pad = support::pad_of(to.source, "src");
    const gulong stall = gst_pad_add_probe(
        pad.get(), static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BLOCK | GST_PAD_PROBE_TYPE_BUFFER),
        [](GstPad*, GstPadProbeInfo*, gpointer) { return GST_PAD_PROBE_OK; }, nullptr, nullptr);
    to.sender.send(pattern(188, 1));
    ASSERT_TRUE(eventually([&] { return gst_pad_is_blocking(pad.get()) != FALSE; }));
    to.sender.send(pattern(188, 2));
    const GstClockTime sent = gst_element_get_current_running_time(to.source.get());
    std::this_thread::sleep_for(std::chrono::milliseconds{300});
    gst_pad_remove_probe(pad.get(), stall);
    ASSERT_TRUE(to.got(joined({pattern(188, 1), pattern(188, 2)})));
    // Of two clocks, which may run apart a little.
    EXPECT_LE(to.recorder.buffers().back().pts, sent + 10 * GST_MSECOND);
}
} // namespace zq_udp_src_settings_test
