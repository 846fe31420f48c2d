// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/RTP.h"
#include "support/made_interface.h"
#include "support/many_descriptors.h"
#include "support/open_descriptors.h"
#include "support/playing_udp_src.h"
#include "support/without_right.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zq_udp_src_faults_test
{
using bytes = std::vector<unsigned char>;
using playing = support::playing_udp_src;
using support::eventually;
using support::joined;
using support::pattern;
using support::rtp_datagram;

/// Keeps what leaves the source from going on until it is destroyed.
struct held_up
{
    explicit held_up(const playing& held)
        : pad{support::pad_of(held.source, "src")},
          probe{gst_pad_add_probe(
              pad.get(),
              static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BLOCK | GST_PAD_PROBE_TYPE_BUFFER |
                                           GST_PAD_PROBE_TYPE_BUFFER_LIST),
              [](GstPad*, GstPadProbeInfo*, gpointer) { return GST_PAD_PROBE_OK; }, nullptr, nullptr)}
    {}
    ~held_up() { gst_pad_remove_probe(pad.get(), probe); }

    zq_pad_pointer pad;
    gulong probe;
};

/// What half a second of 100 Mbit/s brings while downstream takes nothing, and what became of it.
struct stalled
{
    static constexpr unsigned sent = 100'000'000 / 2 / 8 / 1316;

    stalled()
    {
        playing to;
        {
            const held_up stall{to};
            for (unsigned i = 0; i < sent; ++i) {
                to.sender.send(pattern(1316));
                // What a busy kernel drops on the way to the socket counts nowhere.
                if (i % 64 == 63)
                    std::this_thread::sleep_for(std::chrono::milliseconds{1});
            }
        }
        EXPECT_TRUE(eventually([&] { return to.figure("datagrams") + to.figure("kernel-drops") == sent; }));
        EXPECT_TRUE(eventually([&] { return to.recorder.bytes().size() == to.figure("datagrams") * 1316; }));
        kept = to.figure("datagrams");
        warned = static_cast<bool>(to.message_now(GST_MESSAGE_WARNING));
        GstStructure* stats = nullptr;
        g_object_get(to.source.get(), "stats", &stats, nullptr);
        EXPECT_TRUE(gst_structure_get_int(stats, "buffer-size-asked", &asked));
        EXPECT_TRUE(gst_structure_get_int(stats, "buffer-size-got", &got));
        gst_structure_free(stats);
    }
    guint64 kept = 0;
    int asked = 0, got = 0;
    bool warned = false;
};

TEST(UdpSrcFaults, LosesNothingInAStallOfHalfASecondAt100MbitWithTheBufferThatItAsksFor)
{
    const stalled outcome;
    if (outcome.got < outcome.asked)
        GTEST_SKIP() << "needs root, or a higher net.core.rmem_max";
    EXPECT_EQ(outcome.kept, stalled::sent);
    EXPECT_FALSE(outcome.warned);
}

TEST(UdpSrcFaults, LosesInAStallNoMoreThanTheLimitOfAnOrdinaryUsersSocketForcesAndSaysSo)
{
    const support::without_right to_any_buffer{CAP_NET_ADMIN};
    const stalled outcome;
    EXPECT_EQ(outcome.warned, outcome.got < outcome.asked);
    // The kernel doubles the limit, and takes more than the bytes of a datagram off it.
    constexpr int most_for_a_datagram = 4608;
    EXPECT_GE(outcome.kept,
              std::min<guint64>(2 * static_cast<guint64>(outcome.got) / most_for_a_datagram, stalled::sent));
}

TEST(UdpSrcFaults, StopsWhileDownstreamHoldsABuffer)
{
    playing to;
    const held_up downstream{to};
    for (int i = 0; i < 3; ++i) {
        to.sender.send(pattern(1316));
        ASSERT_TRUE(eventually([&] { return gst_pad_is_blocking(downstream.pad.get()) != FALSE; }));
        support::set_state(to.pipeline, GST_STATE_NULL);
        support::set_state(to.pipeline, GST_STATE_PLAYING);
    }
}

TEST(UdpSrcFaults, GoesOnBehindErrorsThatOthersCauseOnItsSocket)
{
    playing to;
    int own = -1;
    for (const int descriptor : support::open_descriptors()) {
        sockaddr_in address{};
        socklen_t size = sizeof(address);
        if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
            address.sin_family == AF_INET && ntohs(address.sin_port) == to.port)
            own = descriptor;
    }
    ASSERT_GE(own, 0);
    // Connected to a port that nobody listens on, the socket is told so by ICMP when it sends.
    sockaddr_in nobody{};
    nobody.sin_family = AF_INET;
    nobody.sin_port = htons(support::free_port());
    nobody.sin_addr.s_addr = ::inet_addr("127.0.0.1");
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(::connect(own, reinterpret_cast<sockaddr*>(&nobody), sizeof(nobody)), 0);
        ::send(own, "x", 1, 0);
    }
    sockaddr_in anybody{};
    anybody.sin_family = AF_UNSPEC;
    ::connect(own, reinterpret_cast<sockaddr*>(&anybody), sizeof(anybody));
    // Undoing the connection took the local address with it.
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(to.port);
    local.sin_addr.s_addr = ::inet_addr("127.0.0.1");
    ::bind(own, reinterpret_cast<sockaddr*>(&local), sizeof(local));
    EXPECT_TRUE(eventually([&] {
        to.sender.send(pattern(1316));
        return to.recorder.count() > 0;
    }));
}

TEST(UdpSrcFaults, WorksWithDescriptorsBeyondTheReachOfSelect)
{
    const support::many_descriptors held;
    ASSERT_TRUE(held.reach_beyond_select());
    const auto port2 = std::to_string(support::free_port());
    for (const auto& properties : {std::string{}, "port2=" + port2}) {
        playing to{properties};
        to.sender.send(rtp_datagram(1, pattern(1316)));
        EXPECT_TRUE(to.got(pattern(1316)));
    }
}

TEST(UdpSrcFaults, WarnsOnceOfAnInterfaceThatCameBackAndThatItHasNoRightToReceiveOn)
{
    auto interface = std::make_unique<support::made_interface>();
    if (!interface->is_made())
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    playing to{"address=239.9.9.9 interface=zq0 port=700"};
    const auto send = [] { support::send_to_group("zq0", "239.9.9.9", 700, pattern(1316)); };
    // Runs on the thread that receives.
    const auto pad = support::pad_of(to.source, "src");
    gst_pad_add_probe(
        pad.get(), GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad*, GstPadProbeInfo*, gpointer) {
            static thread_local const support::without_right low_ports{CAP_NET_BIND_SERVICE};
            return GST_PAD_PROBE_REMOVE;
        },
        nullptr, nullptr);
    send();
    ASSERT_TRUE(to.got(pattern(1316)));
    interface.reset();
    interface = std::make_unique<support::made_interface>();
    const auto found = to.next_message(GST_MESSAGE_WARNING);
    ASSERT_TRUE(found);
    GError* error = nullptr;
    gst_message_parse_warning(found.get(), &error, nullptr);
    EXPECT_TRUE(g_error_matches(error, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_OPEN_READ));
    EXPECT_STREQ(error->message, "cannot receive on 239.9.9.9:700: Permission denied");
    g_error_free(error);
    std::this_thread::sleep_for(std::chrono::milliseconds{1500});
    EXPECT_FALSE(to.message_now(GST_MESSAGE_WARNING));
    EXPECT_EQ(to.figure("rejoins"), 0U);
}

TEST(UdpSrcFaults, DropsRtpOfOtherVersionsAndWithPaddingLongerThanItself)
{
    playing to{"rtp=on"};
    for (const unsigned char version : {0x00, 0x40, 0xC0}) {
        auto wrong = rtp_datagram(1, pattern(1316, 9));
        wrong[0] = version;
        to.sender.send(wrong);
    }
    auto padded = rtp_datagram(1, pattern(188, 9));
    padded[0] |= 0x20;
    padded.back() = 201;
    to.sender.send(padded);
    to.sender.send(rtp_datagram(1, pattern(1316)));
    EXPECT_TRUE(to.got(pattern(1316)));
    EXPECT_EQ(to.figure("not-ts"), 4U);
}

TEST(UdpSrcFaults, FollowsSequenceNumbersOverTheirEnd)
{
    playing to;
    std::vector<bytes> sent;
    for (unsigned i = 65500; i < 65600; ++i) {
        sent.push_back(pattern(188, i));
        to.sender.send(rtp_datagram(static_cast<std::uint16_t>(i), sent.back()));
    }
    EXPECT_TRUE(to.got(joined(sent)));
    EXPECT_EQ(to.figure("rtp-lost"), 0U);
}

TEST(UdpSrcFaults, TakesASenderThatComesBackAsAnotherOne)
{
    playing to;
    to.sender.send(rtp_datagram(100, pattern(1316, 1), 1));
    ASSERT_TRUE(to.got(pattern(1316, 1)));
    const support::udp_sender restarted{"127.0.0.1", to.port};
    restarted.send(rtp_datagram(7, pattern(1316, 2), 2));
    EXPECT_TRUE(to.got(joined({pattern(1316, 1), pattern(1316, 2)})));
    EXPECT_EQ(to.figure("sender-changes"), 1U);
    EXPECT_EQ(to.figure("senders"), 2U);
    EXPECT_EQ(to.figure("rtp-lost"), 0U);
    EXPECT_TRUE(to.recorder.buffers().back().discont);
}

TEST(UdpSrcFaults, TellsAnSsrcOfSyncBytesFromPackets)
{
    playing to;
    for (std::uint16_t i = 0; i < 3; ++i)
        to.sender.send(rtp_datagram(0x4747, pattern(1316, i), 0x47474747, 0x47474747));
    to.sender.send(rtp_datagram(0x4748, pattern(1316, 3), 0x47474747, 0x47474747));
    EXPECT_TRUE(to.got(joined({pattern(1316, 0), pattern(1316, 3)})));
    EXPECT_EQ(to.figure("rtp-duplicates"), 2U);
    EXPECT_EQ(to.figure("resync-bytes"), 0U);
}
} // namespace zq_udp_src_faults_test
