// SPDX-License-Identifier: LGPL-2.1-or-later
// Behind what brings T2-MI from the network, over real sockets.
#include "support/RTP.h"
#include "support/T2MIFeed.h"
#include "support/element.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace zq_t2mi_demux_live_test
{
using zqtest::Bytes;
using zqtest::Feed;
using zqtest::operator+;

/// What stands in front, and how it takes the datagrams.
struct Road
{
    const char* name;
    const char* source; ///< PORT stands for the port
    const char* factory;
    bool RTP;
    bool swaps; ///< puts in order what comes out of it
};

constexpr const char* RTP_caps =
    "caps=application/x-rtp,media=(string)video,clock-rate=(int)90000,encoding-name=(string)MP2T,payload=(int)33";

const Road roads[] = {
    {"udpsrc", "udpsrc address=127.0.0.1 port=PORT", "udpsrc", false, false},
    {"udpsrcWithRtp", "udpsrc address=127.0.0.1 port=PORT", "udpsrc", true, false},
    {"rtpjitterbuffer", "udpsrc address=127.0.0.1 port=PORT CAPS ! rtpjitterbuffer latency=100", "rtpjitterbuffer",
     true, true},
    {"zqudpsrc", "zqudpsrc address=127.0.0.1 port=PORT", "zqudpsrc", false, false},
    {"zqudpsrcWithRtp", "zqudpsrc address=127.0.0.1 port=PORT", "zqudpsrc", true, true},
    {"zqnetsource", "zqnetsource port=PORT", "zqnetsource", false, false},
};

std::string replaced(std::string text, const std::string& what, const std::string& by)
{
    if (const auto at = text.find(what); at != std::string::npos)
        text.replace(at, what.size(), by);
    return text;
}

class T2MIDemuxLive : public testing::TestWithParam<Road>
{};

std::vector<Bytes> datagrams_of(const Bytes& stream, const Road& road)
{
    std::vector<Bytes> datagrams;
    for (std::size_t at = 0; at < stream.size(); at += 1316) {
        const Bytes payload = zqtest::slice(stream, at, std::min<std::size_t>(1316, stream.size() - at));
        const auto number = static_cast<unsigned>(datagrams.size());
        datagrams.push_back(
            road.RTP ? support::rtp_datagram(static_cast<std::uint16_t>(number), payload, 0x11223344, 90 * number)
                     : payload);
    }
    for (std::size_t at = 4; road.swaps && at + 1 < datagrams.size(); at += 5)
        std::swap(datagrams[at], datagrams[at + 1]);
    return datagrams;
}

TEST_P(T2MIDemuxLive, GivesEveryPacketOfEachPlp)
{
    const Road& road = GetParam();
    GstElementFactory* const factory = gst_element_factory_find(road.factory);
    if (factory == nullptr)
        GTEST_SKIP() << "there is no " << road.factory;
    gst_object_unref(factory);
    const support::watchdog guard;
    const std::uint16_t port = support::free_port();
    const std::string source = replaced(replaced(road.source, "PORT", std::to_string(port)), "CAPS", RTP_caps);
    const auto pipeline =
        support::parse(source + " ! zqt2midemux name=d d.plp_1 ! fakesink name=one sync=false async=false "
                                "d.plp_2 ! fakesink name=two sync=false async=false");
    const auto one = support::named(pipeline, "one"), two = support::named(pipeline, "two");
    support::recorder first{support::pad_of(one, "sink").get()}, second{support::pad_of(two, "sink").get()};
    support::set_state(pipeline, GST_STATE_PLAYING);

    Feed feed({1, 2});
    feed.add(15, 1200).end();
    const support::udp_sender sender{"127.0.0.1", port};
    for (const Bytes& datagram : datagrams_of(zqtest::tables() + zqtest::packed(feed.packets), road)) {
        sender.send(datagram);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // The last packets may wait for what proves that packets lie there.
    const auto got = [](const support::recorder& records, const std::vector<Bytes>& sent) {
        const Bytes all = zqtest::joined(sent), have = records.bytes();
        return have.size() + 188 * 40 >= all.size() && have == zqtest::slice(all, 0, std::min(have.size(), all.size()));
    };
    EXPECT_TRUE(support::eventually([&] { return got(first, feed.sent[1]) && got(second, feed.sent[2]); }));
    support::set_state(pipeline, GST_STATE_NULL);
}

INSTANTIATE_TEST_SUITE_P(Behind, T2MIDemuxLive, testing::ValuesIn(roads),
                         [](const auto& tested) { return std::string(tested.param.name); });
} // namespace zq_t2mi_demux_live_test
