// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/playing_udp_src.h"
#include "support/sanitizers.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace zq_udp_src_clients_test
{
using support::eventually;

/// The first of `elements` that is not installed, or nothing.
std::string missing(const std::vector<std::string>& elements)
{
    for (const auto& name : elements) {
        GstElementFactory* const factory = gst_element_factory_find(name.c_str());
        if (factory == nullptr)
            return name;
        gst_object_unref(factory);
    }
    return {};
}

const std::vector<std::string> sender_elements{"videotestsrc", "x264enc", "mpegtsmux", "udpsink"};

/// A small picture as H.264 in a transport stream, until destroyed; `payload` stands before the sink.
struct sending
{
    explicit sending(std::uint16_t port, const std::string& payload = "")
        : pipeline{support::parse("videotestsrc is-live=true ! video/x-raw,width=64,height=64,framerate=50/1 ! "
                                  "x264enc tune=zerolatency speed-preset=ultrafast key-int-max=10 ! "
                                  "mpegtsmux alignment=7 ! " +
                                  payload + " udpsink host=127.0.0.1 port=" + std::to_string(port) + " async=false")}
    {
        support::set_state(pipeline, GST_STATE_PLAYING);
    }
    ~sending() { support::set_state(pipeline, GST_STATE_NULL); }
    support::element pipeline;
};

/// A pipeline whose element "out" is to get something.
struct client
{
    explicit client(const std::string& description) : pipeline{support::parse(description)}
    {
        const auto out = support::named(pipeline, "out");
        recorder = std::make_unique<support::recorder>(support::pad_of(out, "sink").get());
        support::set_state(pipeline, GST_STATE_PLAYING);
    }
    ~client() { support::set_state(pipeline, GST_STATE_NULL); }
    bool gets(std::size_t buffers) const
    {
        return eventually([&] { return recorder->count() >= buffers; });
    }

    support::watchdog guard;
    support::element pipeline;
    std::unique_ptr<support::recorder> recorder;
};

std::string source(std::uint16_t port, const std::string& properties = "")
{
    return "zqudpsrc address=127.0.0.1 port=" + std::to_string(port) + " " + properties + " ! ";
}

/// What a test of clients needs beside the sender, installed or not.
class UdpSrcClients : public testing::Test
{
protected:
    void SetUp() override
    {
        if (zqtest::thread_sanitizer || zqtest::address_sanitizer)
            GTEST_SKIP() << "how others' elements lock and free is not looked at";
    }

    /// True when the sender and `others` are there; otherwise the test is marked as skipped.
    static bool has(std::vector<std::string> others)
    {
        others.insert(others.end(), sender_elements.begin(), sender_elements.end());
        const auto name = missing(others);
        if (!name.empty())
            [&] { GTEST_SKIP() << "needs the element " << name; }();
        return name.empty();
    }

    std::uint16_t port = support::free_port();
};

TEST_F(UdpSrcClients, DecodebinDecodesIt)
{
    if (!has({"decodebin", "tsdemux", "h264parse", "avdec_h264"}))
        return;
    const client to{source(port) + "decodebin ! fakesink name=out sync=false"};
    const sending from{port};
    EXPECT_TRUE(to.gets(3));
}

TEST_F(UdpSrcClients, Playbin3PlaysItsUriWhenItsRankIsTheHighest)
{
    if (!has({"playbin3", "tsdemux", "h264parse", "avdec_h264"}))
        return;
    GstPluginFeature* const feature = gst_registry_lookup_feature(gst_registry_get(), "zqudpsrc");
    ASSERT_NE(feature, nullptr);
    gst_plugin_feature_set_rank(feature, GST_RANK_PRIMARY);
    const support::watchdog guard;
    const auto player = support::parse("playbin3 uri=udp://127.0.0.1:" + std::to_string(port) +
                                       " video-sink=\"fakesink name=out sync=false\"");
    std::string chosen;
    g_signal_connect(player.get(), "source-setup", G_CALLBACK(+[](GstElement*, GstElement* made, std::string* name) {
                         *name = GST_OBJECT_NAME(gst_element_get_factory(made));
                     }),
                     &chosen);
    GstElement* sink = nullptr;
    g_object_get(player.get(), "video-sink", &sink, nullptr);
    const support::element out{sink};
    const support::recorder recorder{support::pad_of(out, "sink").get()};
    support::set_state(player, GST_STATE_PLAYING);
    const sending from{port};
    EXPECT_TRUE(eventually([&] { return recorder.count() >= 3; }));
    support::set_state(player, GST_STATE_NULL);
    gst_plugin_feature_set_rank(feature, GST_RANK_NONE);
    gst_object_unref(feature);
    EXPECT_EQ(chosen, "zqudpsrc");
}

TEST_F(UdpSrcClients, OthersUriStaysWithWhoeverHadIt)
{
    if (!missing({"udpsrc"}).empty())
        GTEST_SKIP() << "needs the element udpsrc";
    const support::element made{gst_element_make_from_uri(GST_URI_SRC, "udp://127.0.0.1:5004", nullptr, nullptr)};
    EXPECT_STREQ(GST_OBJECT_NAME(gst_element_get_factory(made.get())), "udpsrc");
}

TEST_F(UdpSrcClients, TsparseWithTimestampsShowsBuffersBehindAPauseToo)
{
    if (!has({"tsparse"}))
        return;
    const client to{source(port) + "tsparse set-timestamps=true ! fakesink name=out sync=true async=false"};
    const sending from{port};
    ASSERT_TRUE(to.gets(3));
    support::set_state(to.pipeline, GST_STATE_PAUSED);
    const auto had = to.recorder->count();
    support::set_state(to.pipeline, GST_STATE_PLAYING);
    EXPECT_TRUE(to.gets(had + 3));
}

TEST_F(UdpSrcClients, Rtpmp2tpayTakesIt)
{
    if (!has({"rtpmp2tpay"}))
        return;
    const client to{source(port) + "rtpmp2tpay ! fakesink name=out sync=false async=false"};
    const sending from{port};
    EXPECT_TRUE(to.gets(3));
}

TEST_F(UdpSrcClients, RtpFromRtpmp2tpayIsUnderstood)
{
    if (!has({"rtpmp2tpay"}))
        return;
    const client to{source(port, "rtp=on") + "tsdemux ! fakesink name=out sync=false async=false"};
    const sending from{port, "rtpmp2tpay !"};
    EXPECT_TRUE(to.gets(3));
}

TEST_F(UdpSrcClients, Hlssink2WritesSegmentsOfIt)
{
    if (!has({"hlssink2", "tsdemux", "h264parse"}))
        return;
    const auto folder = std::filesystem::temp_directory_path() / ("zq-hls-" + std::to_string(::getpid()));
    std::filesystem::create_directory(folder);
    {
        const client to{source(port) +
                        "tsdemux ! identity name=out ! h264parse ! hlssink2 target-duration=1 location=" +
                        (folder / "%05d.ts").string() + " playlist-location=" + (folder / "list.m3u8").string()};
        const sending from{port};
        EXPECT_TRUE(eventually([&] { return std::filesystem::exists(folder / "list.m3u8"); }));
    }
    EXPECT_GT(std::filesystem::file_size(folder / "00000.ts"), 188U);
    std::filesystem::remove_all(folder);
}

TEST_F(UdpSrcClients, FfmpegSendsToIt)
{
    if (std::system("ffmpeg -version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "needs the program ffmpeg";
    if (!missing({"tsdemux"}).empty())
        GTEST_SKIP() << "needs the element tsdemux";
    for (const std::string format : {"mpegts udp", "rtp_mpegts rtp"}) {
        const auto space = format.find(' ');
        const client to{source(port) + "tsdemux ! fakesink name=out sync=false async=false"};
        const pid_t ffmpeg = ::fork();
        if (ffmpeg == 0) {
            const auto target = format.substr(space + 1) + "://127.0.0.1:" + std::to_string(port) + "?pkt_size=1316";
            ::execlp("ffmpeg", "ffmpeg", "-nostdin", "-loglevel", "quiet", "-re", "-f", "lavfi", "-i",
                     "testsrc=size=64x64:rate=25", "-c:v", "mpeg2video", "-g", "5", "-f",
                     format.substr(0, space).c_str(), target.c_str(), nullptr);
            ::_exit(127);
        }
        EXPECT_TRUE(to.gets(3)) << format;
        ::kill(ffmpeg, SIGKILL);
        ::waitpid(ffmpeg, nullptr, 0);
    }
}
} // namespace zq_udp_src_clients_test
