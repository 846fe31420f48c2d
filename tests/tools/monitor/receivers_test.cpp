// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/receivers.h"

#include "support/Multiplex.h"
#include "support/RTP.h"
#include "support/T2MIFeed.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gmock/gmock.h>

#include <optional>
#include <thread>

namespace receivers_test
{
using monitor::receivers;
using monitor::stream_settings;
using support::eventually;
using zqtest::operator+;

stream_settings on_port(const std::string& name, std::uint16_t port)
{
    auto settings = monitor::stream_of_argument(name + "=udp://127.0.0.1:" + std::to_string(port));
    // However long the machine lets the sender wait, that is no loss of synchronisation, behind which packets do not
    // count.
    settings.limits.input_loss = 0;
    return settings;
}

/// Seven packets with a PAT, a PMT and an SDT among them.
std::vector<unsigned char> datagram()
{
    zqtest::Multiplex multiplex(1);
    zqtest::Stream stream;
    stream.section(0, multiplex.PAT()).section(zqtest::Multiplex::PMT_PID(0), multiplex.PMT(0));
    stream.section(0x11, multiplex.SDT().at(0)).null().null().null().null();
    return {stream.data.begin(), stream.data.end()};
}

const monitor::snapshot& seen_of(const receivers& all, std::size_t at)
{
    static std::shared_ptr<const monitor::snapshot> kept;
    kept = all.streams().at(at)->last();
    static const monitor::snapshot nothing;
    return kept ? *kept : nothing;
}

/// Receivers that end by themselves, and a watchdog.
class Receivers : public testing::Test
{
protected:
    support::watchdog watchdog;
    receivers all{2, 5};
};

TEST_F(Receivers, CountWhatComesAndTellWhatItIs)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const support::udp_sender sender("127.0.0.1", port);
    for (int count = 0; count < 50; ++count)
        sender.send(datagram());
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].datagrams == 50; }));
    const auto& seen = seen_of(all, 0);
    EXPECT_EQ(seen.input.legs[0].bytes, 50U * datagram().size());
    EXPECT_EQ(seen.packets, 50U * 7);
    EXPECT_EQ(seen.null_packets, 50U * 4);
    EXPECT_EQ(seen.input.senders, 1U);
    ASSERT_EQ(seen.services.size(), 1U);
    EXPECT_EQ(seen.services[0].name, "Programme 1");
    EXPECT_FALSE(seen.is_rtp);
}

TEST_F(Receivers, RTPThatIsLostRepeatedAndOutOfOrderIsCounted)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const support::udp_sender sender("127.0.0.1", port);
    std::vector<std::vector<unsigned char>> datagrams;
    for (const unsigned number : {1U, 2U, 3U, 3U, 6U, 8U, 7U})
        datagrams.push_back(support::rtp_datagram(static_cast<std::uint16_t>(number), datagram()));
    for (const auto& made : datagrams) // 7 is not awaited for long
        sender.send(made);
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.rtp_lost == 2; }));
    const auto& seen = seen_of(all, 0);
    EXPECT_TRUE(seen.is_rtp);
    EXPECT_EQ(seen.input.legs[0].rtp.repeated, 1U);
    EXPECT_EQ(seen.input.legs[0].rtp.reordered, 1U);
    EXPECT_EQ(seen.packets, 6U * 7);
}

TEST_F(Receivers, MeasureHowDatagramsCome)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const support::udp_sender sender("127.0.0.1", port);
    std::uint64_t sent = 0;
    ASSERT_TRUE(eventually([&] {
        sender.send(datagram());
        ++sent;
        return seen_of(all, 0).delivery.index.delay_factor > 0;
    }));
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].datagrams == sent; }));
    const auto& delivery = seen_of(all, 0).delivery;
    EXPECT_EQ(delivery.total.count, sent - 1);
    EXPECT_GT(delivery.total.max, 0U);
    EXPECT_EQ(delivery.index.lost, 0U);
}

TEST_F(Receivers, TellPLPsAndTheirL1)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const support::udp_sender sender("127.0.0.1", port);
    zqtest::Feed feed({1});
    feed.signal().add(3, 900).end();
    const auto stream =
        zqtest::tables({{0x06, zqtest::T2MI_PID, zqtest::T2MI_descriptor()}}) + zqtest::packed(feed.packets);
    for (std::size_t at = 0; at < stream.size(); at += 1316) {
        const auto* const begin = stream.data() + at;
        sender.send({begin, begin + std::min<std::size_t>(1316, stream.size() - at)});
    }
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).packets == stream.size() / 188; }));
    const auto& T2MI = seen_of(all, 0).T2MI;
    ASSERT_TRUE(T2MI.has_value());
    EXPECT_EQ(T2MI->PID, zqtest::T2MI_PID);
    EXPECT_EQ(T2MI->packets, feed.packets.size());
    EXPECT_TRUE(T2MI->L1.has_value());
    ASSERT_EQ(T2MI->PLPs.size(), 2U); // L1 lists 102
    EXPECT_EQ(T2MI->PLPs[0].figures.packets, feed.sent[1].size());
    EXPECT_TRUE(T2MI->PLPs[1].L1.has_value());
}

TEST_F(Receivers, ADamagedSyncByteIsFound)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const support::udp_sender sender("127.0.0.1", port);
    auto damaged = datagram();
    damaged[3 * 188] = 0x48;
    sender.send(datagram());
    sender.send(damaged);
    sender.send(datagram());
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).packets == 20; }));
    EXPECT_EQ(seen_of(all, 0).checks[mpegcore::Check::Sync_byte_error].count, 1U);
}

TEST_F(Receivers, PacketsThatLieAcrossDatagramsAreFound)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const support::udp_sender sender("127.0.0.1", port);
    std::vector<unsigned char> bytes;
    for (int count = 0; count < 4; ++count)
        for (const unsigned char byte : datagram())
            bytes.push_back(byte);
    for (std::size_t at = 0; at < bytes.size(); at += 1000) {
        const auto end = std::min(at + 1000, bytes.size());
        sender.send(
            {bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin() + static_cast<std::ptrdiff_t>(end)});
    }
    EXPECT_TRUE(eventually([&] { return seen_of(all, 0).packets == bytes.size() / 188; }));
}

TEST_F(Receivers, WhatIsNoTransportStreamIsCountedAndNothingElse)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const support::udp_sender sender("127.0.0.1", port);
    sender.send(std::vector<unsigned char>(1316, 0x11));
    sender.send({0x47});
    EXPECT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].datagrams == 2; }));
    EXPECT_GE(seen_of(all, 0).input.not_ts, 1U);
    EXPECT_EQ(seen_of(all, 0).packets, 0U);
}

TEST_F(Receivers, WhatIsNoTransportStreamAmongGoodDatagramsIsNoLossOfSynchronisation)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const support::udp_sender sender("127.0.0.1", port);
    for (int count = 0; count < 3; ++count) {
        sender.send(datagram());
        sender.send({1, 2, 3, 4});
    }
    sender.send(datagram());
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].datagrams == 7; }));
    EXPECT_EQ(seen_of(all, 0).input.not_ts, 3U);
    EXPECT_EQ(seen_of(all, 0).packets, 4U * 7);
    EXPECT_EQ(seen_of(all, 0).checks[mpegcore::Check::TS_sync_loss].count, 0U);
    sender.send({1, 2, 3, 4});
    sender.send({1, 2, 3, 4});
    EXPECT_TRUE(eventually([&] { return seen_of(all, 0).checks[mpegcore::Check::TS_sync_loss].count == 1; }));
}

TEST_F(Receivers, RTCPBesideRTPIsNothing)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const support::udp_sender sender("127.0.0.1", port);
    const std::vector<unsigned char> sender_report{0x80, 200, 0, 6, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0,
                                                   0,    0,   0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (unsigned number = 1; number <= 3; ++number) {
        sender.send(support::rtp_datagram(static_cast<std::uint16_t>(number), datagram()));
        sender.send(sender_report);
        sender.send(sender_report);
    }
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].datagrams == 9; }));
    EXPECT_EQ(seen_of(all, 0).input.not_ts, 0U);
    EXPECT_EQ(seen_of(all, 0).packets, 3U * 7);
    EXPECT_EQ(seen_of(all, 0).checks[mpegcore::Check::TS_sync_loss].count, 0U);
}

TEST_F(Receivers, APortThatIsTakenIsToldAndTriedAgainUntilItIsFree)
{
    std::optional<support::taken_port> taken;
    taken.emplace();
    const auto free = support::free_port();
    all.watch({on_port("A", taken->number), on_port("B", free)});
    ASSERT_TRUE(eventually([&] { return !seen_of(all, 0).fault.empty(); }));
    EXPECT_THAT(seen_of(all, 0).fault, testing::HasSubstr("Address already in use"));
    ASSERT_TRUE(eventually([&] { return seen_of(all, 1).time != 0; }));
    EXPECT_EQ(seen_of(all, 1).fault, "");
    taken.reset();
    EXPECT_TRUE(eventually([&] { return seen_of(all, 0).fault.empty(); }));
}

TEST_F(Receivers, AnInterfaceThatIsNotThereIsTold)
{
    auto settings = monitor::stream_of_argument("A=udp://239.255.1.1:5000");
    settings.interface = "nowhere0";
    all.watch({settings});
    EXPECT_TRUE(eventually([&] { return seen_of(all, 0).fault.find("nowhere0") != std::string::npos; }));
}

TEST_F(Receivers, AStreamThatStaysTheSameGoesOnWhileOthersComeAndGo)
{
    const auto port = support::free_port(), other = support::free_port();
    all.watch({on_port("A", port), on_port("B", other)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const auto* const stream = all.streams()[0].get();
    const support::udp_sender sender("127.0.0.1", port);
    std::uint64_t sent = 0;
    for (int round = 0; round < 10; ++round) {
        for (int count = 0; count < 20; ++count, ++sent)
            sender.send(datagram());
        if (round % 2 == 0)
            all.watch({on_port("C", other), on_port("A", port)});
        else
            all.watch({on_port("A", port), on_port("B", other)});
        std::this_thread::sleep_for(std::chrono::milliseconds{7});
    }
    EXPECT_EQ(all.streams()[0].get(), stream);
    EXPECT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].datagrams == sent; }));
    EXPECT_EQ(seen_of(all, 0).packets, sent * 7);
}

TEST_F(Receivers, AStreamWithOtherSettingsBeginsAnewOnTheSamePort)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).input.legs[0].buffer_got > 0; }));
    const auto* const before = all.streams()[0].get();
    auto changed = on_port("A", port);
    changed.limits.PAT = 1;
    all.watch({changed});
    EXPECT_NE(all.streams()[0].get(), before);
    ASSERT_TRUE(eventually([&] { return seen_of(all, 0).time != 0; }));
    EXPECT_EQ(seen_of(all, 0).fault, "");
}

TEST_F(Receivers, AReaderThatHoldsWhatItGotKeepsNobodyWaiting)
{
    const auto port = support::free_port();
    all.watch({on_port("A", port)});
    ASSERT_TRUE(eventually([&] { return all.streams()[0]->last() != nullptr; }));
    std::vector<std::shared_ptr<const monitor::snapshot>> held;
    const auto first = all.streams()[0]->last();
    EXPECT_TRUE(eventually([&] {
        held.push_back(all.streams()[0]->last());
        return held.back()->time > first->time;
    }));
}
} // namespace receivers_test
