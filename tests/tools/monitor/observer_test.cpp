// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/observer.h"

#include "support/udp_sender.h"

#include <gmock/gmock.h>

namespace observer_test
{
using monitor::event;
using monitor::moment;
using monitor::stream_set;
using monitor::stream_state;
using monitor::watched_stream;
using testing::ElementsAre;

constexpr std::uint64_t second = 1'000'000'000;

/// A stream that is worked by hand, a second at a time, with an observer that looks at it.
class Observed : public testing::Test
{
protected:
    void SetUp() override
    {
        settings = monitor::stream_of_argument("A=udp://127.0.0.1:" + std::to_string(port));
        settings.limits.SI_is_expected = false;
        streams = {std::make_shared<watched_stream>(settings)};
        step();
    }

    const monitor::stream_report& step()
    {
        now.clock += second;
        now.real = moment::now().real;
        for (const auto& stream : streams)
            (void)stream->work(now, memory);
        last = observer.look(streams, now);
        return *last->streams.at(0);
    }

    void send_null_packets(unsigned char first_sync_byte = 0x47)
    {
        std::vector<unsigned char> datagram(7 * 188);
        for (std::size_t at = 0; at < datagram.size(); at += 188) {
            datagram[at] = at == 0 ? first_sync_byte : 0x47;
            datagram[at + 1] = 0x1F;
            datagram[at + 2] = 0xFF;
            datagram[at + 3] = 0x10;
        }
        sender.send(datagram);
    }

    std::vector<std::string> told_of(const std::string& check) const
    {
        std::vector<std::string> kinds;
        for (const auto& each : told)
            if (each.check == check)
                kinds.emplace_back(each.what == event::kind::begin ? "begin" : "end");
        return kinds;
    }

    std::uint16_t port = support::free_port();
    support::udp_sender sender{"127.0.0.1", port};
    monitor::stream_settings settings;
    moment now{100 * second, 0};
    std::vector<unsigned char> memory;
    std::vector<event> told;
    monitor::observer observer{5 * second, [this](const event& each) { told.push_back(each); }};
    stream_set streams;
    std::shared_ptr<monitor::survey> last;
};

TEST_F(Observed, AStreamThatComesHasABitRateAndAHistory)
{
    send_null_packets();
    send_null_packets();
    const auto& report = step();
    EXPECT_EQ(report.bit_rate, 2U * 7 * 188 * 8);
    EXPECT_EQ(report.history.back(), report.bit_rate);
    EXPECT_EQ(report.history.size(), 2U);
}

TEST_F(Observed, AnErrorBeginsAnAlarmThatEndsAfterTheHoldOff)
{
    send_null_packets();
    step();
    send_null_packets(0x48);
    const auto& report = step();
    EXPECT_EQ(report.state, stream_state::bad);
    EXPECT_THAT(report.active, testing::Contains("1.2"));
    EXPECT_THAT(told_of("1.2"), ElementsAre("begin"));
    for (int count = 0; count < 7; ++count) {
        send_null_packets();
        step();
    }
    EXPECT_THAT(told_of("1.2"), ElementsAre("begin", "end"));
}

TEST_F(Observed, AStreamThatCannotBeOpenedIsClosedWithAnAlarm)
{
    const support::taken_port taken;
    streams = {std::make_shared<watched_stream>(
        monitor::stream_of_argument("B=udp://127.0.0.1:" + std::to_string(taken.number)))};
    const auto& report = step();
    EXPECT_EQ(report.state, stream_state::closed);
    EXPECT_THAT(report.active, testing::Contains("input"));
    EXPECT_THAT(told_of("input"), ElementsAre("begin"));
}

TEST_F(Observed, AStreamThatIsNoMoreWatchedEndsItsAlarms)
{
    send_null_packets();
    send_null_packets(0x48);
    step();
    ASSERT_THAT(told_of("1.2"), ElementsAre("begin"));
    streams.clear();
    last = observer.look(streams, now);
    EXPECT_THAT(told_of("1.2"), ElementsAre("begin", "end"));
    EXPECT_TRUE(last->streams.empty());
}

TEST_F(Observed, AStreamThatStoppedIsSilentAlsoWhenTheRealTimeClockIsSetBack)
{
    send_null_packets();
    ASSERT_NE(step().state, stream_state::silent);
    for (int count = 0; count < 2; ++count) {
        now.clock += second;
        const moment set_back{now.clock, now.real - 3600 * second};
        (void)streams[0]->work(set_back, memory);
        last = observer.look(streams, set_back);
    }
    EXPECT_EQ(last->streams[0]->state, stream_state::silent);
}

TEST_F(Observed, AStreamWhoseReceiverStandsStillHasNoBitRateAndNoStateOfNow)
{
    send_null_packets();
    const auto& coming = step();
    const std::uint64_t rate = coming.bit_rate;
    ASSERT_GT(rate, 0U);
    const auto state = coming.state;
    const auto look_alone = [this]() -> const monitor::stream_report& {
        now.clock += second;
        last = observer.look(streams, now);
        return *last->streams[0];
    };
    for (int count = 0; count < 3; ++count) { // late
        const auto& report = look_alone();
        EXPECT_EQ(report.bit_rate, rate);
        EXPECT_EQ(report.state, state);
    }
    const auto& left = look_alone();
    EXPECT_EQ(left.bit_rate, 0U);
    EXPECT_EQ(left.history.back(), 0U);
    EXPECT_EQ(left.state, stream_state::waiting);
    send_null_packets();
    EXPECT_EQ(step().bit_rate, 7U * 188 * 8 / 5); // in the five seconds since it was looked at
    EXPECT_NE(last->streams[0]->state, stream_state::waiting);
}

TEST_F(Observed, EventsAreKeptForThePage)
{
    send_null_packets();
    send_null_packets(0x48);
    step();
    EXPECT_GT(told.size(), 0U);
    EXPECT_EQ(last->events_total, told.size());
    EXPECT_EQ(last->events->size(), told.size());
}

TEST_F(Observed, TheHistoryHasTenMinutes)
{
    for (int count = 0; count < 700; ++count)
        step();
    EXPECT_EQ(last->streams[0]->history.size(), 600U);
    EXPECT_EQ(last->streams[0]->state, stream_state::silent);
}
} // namespace observer_test
