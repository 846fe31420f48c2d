// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_t2mi_provider.h"

#include "support/BuiltT2MI.h"
#include "support/Samples.h"
#include "support/element.h"
#include "support/paced_sending.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "tools/t2mi/t2mi_encapsulator.h"
#include "zq_net_source/zq_net_buffer_pool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>

namespace zq_t2mi_provider_test
{
using support::eventually;
using support::figure;
using support::send_paced;

using bytes = std::vector<unsigned char>;

/// `count` transport packets of a PLP, no two of them alike.
bytes packets_of(std::uint8_t plp, unsigned count)
{
    bytes all;
    for (unsigned i = 0; i < count; ++i) {
        auto packet = support::pattern(188, 1000 * plp + i);
        packet[1] = 0x01;
        packet[2] = plp;
        packet[3] = 0x10;
        packet[4] = static_cast<unsigned char>(i >> 8);
        packet[5] = static_cast<unsigned char>(i);
        all.insert(all.end(), packet.begin(), packet.end());
    }
    return all;
}

/// One T2-MI stream out of the packets of several PLPs, taken in turn.
bytes t2mi_of(const std::map<std::uint8_t, bytes>& plps)
{
    t2mi::t2mi_options options;
    options.data_field_bytes_min = 400;
    options.data_field_bytes_max = 3000;
    bytes stream;
    t2mi::t2mi_encapsulator encapsulator{
        options, [&](const unsigned char* packet) { stream.insert(stream.end(), packet, packet + 188); }};
    std::size_t longest = 0;
    for (const auto& [plp, packets] : plps) {
        EXPECT_TRUE(encapsulator.add_plp(plp));
        longest = std::max(longest, packets.size());
    }
    for (std::size_t at = 0; at < longest; at += 188)
        for (const auto& [plp, packets] : plps)
            EXPECT_TRUE(at >= packets.size() || encapsulator.push(plp, packets.data() + at));
    encapsulator.flush();
    return stream;
}

std::vector<bytes> datagrams_of(const bytes& stream, std::size_t size = 1316)
{
    std::vector<bytes> datagrams;
    for (std::size_t at = 0; at < stream.size(); at += size)
        datagrams.emplace_back(stream.begin() + static_cast<std::ptrdiff_t>(at),
                               stream.begin() + static_cast<std::ptrdiff_t>(std::min(stream.size(), at + size)));
    return datagrams;
}

/// `zqnetsource input_type=1` for one PLP, on a port or a group.
struct receiving_plp
{
    receiving_plp(int plp, std::uint16_t port, const std::string& properties = "")
        : pipeline{support::parse("zqnetsource name=src input_type=1 plp=" + std::to_string(plp) +
                                  " port=" + std::to_string(port) + " " + properties + " ! fakesink sync=false")},
          source{support::named(pipeline, "src")},
          recorder{support::pad_of(source, "src_net").get()}
    {
        support::set_state(pipeline, GST_STATE_PLAYING);
    }
    ~receiving_plp() { support::set_state(pipeline, GST_STATE_NULL); }
    bool received(std::size_t size)
    {
        return eventually([&] { return recorder.count() * 1316 >= size; });
    }

    support::element pipeline;
    support::element source;
    support::recorder recorder;
};

/// The whole groups of 7 packets in `packets`: the rest waits in an open buffer.
bytes whole_groups(bytes packets)
{
    packets.resize(packets.size() / 1316 * 1316);
    return packets;
}

TEST(T2miProvider, PassesOnNothingOfAPlpThatWasNotAskedFor)
{
    unsigned buffers = 0;
    support::test_sink sink{[&](GstBuffer*) {
        ++buffers;
        return GST_FLOW_OK;
    }};
    zq_net_pad pad{zq_pad_pointer{GST_PAD(gst_object_ref_sink(gst_pad_new("src", GST_PAD_SRC)))}};
    gst_pad_link(pad.pad.get(), sink.pad());
    gst_pad_set_active(pad.pad.get(), TRUE);
    gst_pad_push_event(pad.pad.get(), gst_event_new_stream_start("test"));
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_pad_push_event(pad.pad.get(), gst_event_new_segment(&segment));
    zq_net_statistics statistics;
    zq_t2mi_provider provider{pad, create_net_buffer_pool(0, 0, 0), statistics, 3};
    bytes packet(187);
    for (int count = 0; count < 7; ++count)
        provider.OnTS(2, packet.data(), packet.size());
    EXPECT_EQ(buffers, 0U);
    for (int count = 0; count < 7; ++count)
        provider.OnTS(3, packet.data(), packet.size());
    EXPECT_EQ(buffers, 1U);
}

TEST(T2miElement, DeliversThePacketsOfTheSelectedPlpByteForByte)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    receiving_plp receiver{0, port};
    const auto packets = packets_of(0, 700);
    const auto stream = t2mi_of({{0, packets}, {7, packets_of(7, 500)}});
    ASSERT_TRUE(send_paced({"127.0.0.1", port}, datagrams_of(stream), {&receiver.source}));
    ASSERT_TRUE(receiver.received(packets.size()));
    EXPECT_EQ(receiver.recorder.bytes(), packets);
    EXPECT_EQ(figure(receiver.source, "Last error"), "");
}

TEST(T2miElement, DeliversTheSameHoweverTheStreamIsCutIntoDatagrams)
{
    const support::watchdog guard;
    const auto packets = packets_of(3, 70);
    const auto stream = t2mi_of({{3, packets}});
    for (const std::size_t size : {1, 187, 188, 189, 1000, 1472, 60000}) {
        const auto port = support::free_port();
        receiving_plp receiver{3, port};
        ASSERT_TRUE(send_paced({"127.0.0.1", port}, datagrams_of(stream, size), {&receiver.source}));
        ASSERT_TRUE(receiver.received(packets.size()));
        EXPECT_EQ(receiver.recorder.bytes(), packets) << "in datagrams of " << size;
    }
}

TEST(T2miElement, WithOnlyOtherPlpsPushesNothingAndReportsNothing)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    receiving_plp receiver{1, port};
    const auto stream = t2mi_of({{0, packets_of(0, 100)}, {2, packets_of(2, 100)}});
    ASSERT_TRUE(send_paced({"127.0.0.1", port}, datagrams_of(stream), {&receiver.source}));
    EXPECT_EQ(figure(receiver.source, "Data counter [byte]"), std::to_string(stream.size()));
    EXPECT_EQ(receiver.recorder.count(), 0U);
    EXPECT_EQ(figure(receiver.source, "Last error"), "");
}

TEST(T2miElement, WithAPlainTransportStreamPushesNothingAndReportsNothing)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    receiving_plp receiver{0, port};
    const auto stream = packets_of(0, 700);
    ASSERT_TRUE(send_paced({"127.0.0.1", port}, datagrams_of(stream), {&receiver.source}));
    EXPECT_EQ(figure(receiver.source, "Data counter [byte]"), std::to_string(stream.size()));
    EXPECT_EQ(receiver.recorder.count(), 0U);
    EXPECT_EQ(figure(receiver.source, "Last error"), "");
}

TEST(T2miElement, StampsEveryBufferOpenedDuringOneDatagramWithItsTime)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    receiving_plp receiver{0, port};
    const auto packets = packets_of(0, 140);
    const auto stream = t2mi_of({{0, packets}});
    ASSERT_LE(stream.size(), 64000U);
    const support::udp_sender sender{"127.0.0.1", port};
    sender.send(stream);
    ASSERT_TRUE(receiver.received(packets.size()));
    const auto buffers = receiver.recorder.buffers();
    for (const auto& buffer : buffers) {
        EXPECT_EQ(buffer.pts, buffers[0].pts);
        EXPECT_EQ(buffer.dts, buffers[0].pts);
    }
    EXPECT_EQ(receiver.recorder.segments().at(0).start, buffers[0].pts);
}

TEST(T2miElement, StampsAPacketThatStraddlesTwoDatagramsWithTheSecond)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    receiving_plp receiver{0, port};
    const auto packets = packets_of(0, 14);
    const auto stream = t2mi_of({{0, packets}});
    const support::udp_sender sender{"127.0.0.1", port};
    const auto middle = stream.begin() + 100;
    sender.send({stream.begin(), middle});
    ASSERT_TRUE(eventually([&] { return figure(receiver.source, "Data counter [byte]") == "100"; }));
    sender.send({middle, stream.end()});
    ASSERT_TRUE(receiver.received(packets.size()));
    EXPECT_GT(receiver.recorder.buffers().at(0).pts, receiver.recorder.segments().at(0).start);
}

TEST(T2miElement, OfThreeOnOneGroupEachGetsAllOfItsOwnPlp)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    const std::string group = "address=239.1.4.1 interface=127.0.0.1";
    receiving_plp first{0, port, group}, second{1, port, group}, third{255, port, group};
    // PLP 255 has no memory for packets that straddle two frames: its frames here hold whole ones.
    t2mi::t2mi_options options;
    options.data_field_bytes_min = options.data_field_bytes_max = 187 * 20;
    bytes stream;
    t2mi::t2mi_encapsulator encapsulator{
        options, [&](const unsigned char* packet) { stream.insert(stream.end(), packet, packet + 188); }};
    const std::map<std::uint8_t, bytes> plps{
        {0, packets_of(0, 2800)}, {1, packets_of(1, 2800)}, {255, packets_of(255, 2800)}};
    for (const auto& [plp, packets] : plps)
        ASSERT_TRUE(encapsulator.add_plp(plp));
    for (std::size_t at = 0; at < plps.at(0).size(); at += 188)
        for (const auto& [plp, packets] : plps)
            ASSERT_TRUE(encapsulator.push(plp, packets.data() + at));
    encapsulator.flush();

    ASSERT_TRUE(send_paced({"239.1.4.1", port}, datagrams_of(stream), {&first.source, &second.source, &third.source}));
    EXPECT_TRUE(first.received(plps.at(0).size()));
    EXPECT_TRUE(second.received(plps.at(1).size()));
    EXPECT_TRUE(third.received(plps.at(255).size()));
    EXPECT_EQ(first.recorder.bytes(), plps.at(0));
    EXPECT_EQ(second.recorder.bytes(), plps.at(1));
    EXPECT_EQ(third.recorder.bytes(), plps.at(255));
}

TEST(T2miElement, DeliversStreamsOfOtherMakersThanTheEncapsulator)
{
    const auto built = zqtest::built_T2MI();
    std::vector<std::pair<bytes, bytes>> streams{{built.data, built.transport_stream}};
    if (const auto folder = zqtest::sample_folder()) {
        const auto file = [&](const char* name) {
            std::ifstream stream{*folder / name, std::ios::binary};
            return bytes{std::istreambuf_iterator<char>{stream}, {}};
        };
        streams.emplace_back(file("t2mi-plp-0.ts"), file("t2mi-plp-0.expected-output.ts"));
        ASSERT_EQ(streams.back().second.size(), 175U * 188);
    }
    for (const auto& [stream, expected] : streams) {
        const support::watchdog guard;
        const auto port = support::free_port();
        receiving_plp receiver{0, port};
        ASSERT_TRUE(send_paced({"127.0.0.1", port}, datagrams_of(stream), {&receiver.source}));
        const auto groups = whole_groups(expected);
        ASSERT_TRUE(receiver.received(groups.size()));
        EXPECT_EQ(receiver.recorder.bytes(), groups);
    }
}
} // namespace zq_t2mi_provider_test
