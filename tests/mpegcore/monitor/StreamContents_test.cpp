// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/AllocationCounter.h"
#include "support/MonitoredStream.h"
#include "support/Multiplex.h"

#include <gmock/gmock.h>

#include <random>

namespace StreamContents_test
{
using mpegcore::Check;
using mpegcore::MonitorLimits;
using mpegcore::PIDKind;
using mpegcore::TableNews;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using zqtest::audio_PID;
using zqtest::Bytes;
using zqtest::MonitoredStream;
using zqtest::Multiplex;
using zqtest::PMT_PID;
using zqtest::Stream;
using zqtest::video_PID;
using zqtest::operator+;

struct Listener : mpegcore::MonitorListener
{
    void on_table(const mpegcore::TableChange& change) override
    {
        char line[80];
        std::snprintf(line, sizeof line, "%s 0x%02X on 0x%04X: %u -> %u",
                      change.news == TableNews::complete ? "complete" : "changed", change.table.identity.table_id,
                      change.table.identity.PID, change.version_before, change.table.version_number);
        tables.emplace_back(line);
    }
    void on_splice(const mpegcore::SpliceNews& news) override
    {
        splices.push_back({news.PID, news.program_number, news.section.splice_command_type, news.pts_time, news.ahead});
    }

    struct Splice
    {
        unsigned PID, program_number, type;
        std::optional<std::uint64_t> pts_time;
        std::optional<std::int64_t> ahead;
    };
    std::vector<std::string> tables;
    std::vector<Splice> splices;
};

TEST(StreamContents, HasTheServicesOfPATPMTAndSDT)
{
    const Multiplex multiplex(12);
    MonitoredStream watched;
    watched.stream.section(0, multiplex.PAT());
    watched.flush();
    for (unsigned programme = 0; programme < 12; ++programme)
        watched.stream.section(Multiplex::PMT_PID(programme), multiplex.PMT(programme));
    for (const Bytes& section : multiplex.SDT())
        watched.stream.section(0x11, section);
    watched.flush();
    watched.monitor.tick(watched.now() + 20 * MonitoredStream::ms); // tables are not read again at once
    const auto& services = watched.monitor.contents().services;
    ASSERT_THAT(services, SizeIs(12));
    EXPECT_EQ(watched.monitor.contents().transport_stream_id, 1U);
    for (unsigned programme = 0; programme < 12; ++programme) {
        const mpegcore::Service& service = services[programme];
        EXPECT_EQ(service.program_number, programme + 1);
        EXPECT_EQ(service.PMT_PID, Multiplex::PMT_PID(programme));
        EXPECT_EQ(service.PCR_PID, Multiplex::video_PID(programme));
        EXPECT_EQ(service.name, "Programme " + std::to_string(programme + 1));
        EXPECT_EQ(service.provider, "Provider");
        EXPECT_EQ(service.service_type, 1U);
        ASSERT_THAT(service.streams, SizeIs(3));
        EXPECT_EQ(service.streams[0].kind, PIDKind::video);
        EXPECT_EQ(service.streams[0].name, "AVC video");
        EXPECT_EQ(service.streams[1].kind, PIDKind::audio);
        EXPECT_EQ(service.streams[1].language, "eng");
        EXPECT_EQ(service.streams[2].PID, Multiplex::audio_PID(programme, 1));
    }
}

TEST(StreamContents, KnowsKindsByStreamTypeAndDescriptors)
{
    const std::vector<std::pair<zqtest::ListedPID, PIDKind>> streams{
        {{0x24, 0x200}, PIDKind::video},
        {{0x11, 0x201}, PIDKind::audio},
        {{0x06, 0x202, {0x7A, 1, 0}}, PIDKind::audio},
        {{0x06, 0x203, {0x56, 5, 'd', 'e', 'u', 9, 0}}, PIDKind::subtitles},
        {{0x06, 0x204, {0x7F, 4, 0x11, 0, 0, 0}}, PIDKind::T2MI},
        {{0x06, 0x205}, PIDKind::data},
        {{0x0B, 0x206}, PIDKind::data},
        {{0x86, 0x207}, PIDKind::SCTE35},
        {{0x81, 0x208}, PIDKind::audio},
        {{0x80, 0x209}, PIDKind::data}};
    MonitoredStream watched;
    std::vector<zqtest::ListedPID> listed;
    for (const auto& stream : streams)
        listed.push_back(stream.first);
    watched.parts["PMT"].send = [&](Stream& s) { s.section(PMT_PID, zqtest::PMT_section_of(1, 0x1FFF, listed)); };
    watched.run(200);
    for (const auto& [stream, kind] : streams) {
        const auto* const figures = watched.monitor.contents().PIDs.find(static_cast<std::uint16_t>(stream.PID));
        ASSERT_NE(figures, nullptr);
        EXPECT_EQ(figures->kind, kind) << stream.PID;
        EXPECT_EQ(figures->stream_type, stream.stream_type);
        EXPECT_TRUE(figures->is_referenced);
    }
    EXPECT_EQ(watched.monitor.contents().PIDs.find(0x0012)->kind, PIDKind::EIT);
    EXPECT_EQ(watched.monitor.contents().PIDs.find(0x1FFF), nullptr);
}

TEST(StreamContents, CountsPacketsAndMeasuresRatesOverTheLastSecond)
{
    MonitoredStream watched;
    watched.run(3000);
    const auto& contents = watched.monitor.contents();
    EXPECT_EQ(contents.null_packets, 300U);
    EXPECT_EQ(contents.PIDs.find(0)->packets, 30U);
    EXPECT_EQ(contents.PIDs.find(0)->bit_rate, 10U * 1504);
    EXPECT_EQ(contents.null_bit_rate, 100U * 1504);
    EXPECT_DOUBLE_EQ(contents.null_share(),
                     static_cast<double>(contents.null_bit_rate) / static_cast<double>(contents.bit_rate));
    EXPECT_GT(contents.null_share(), 0.5);
    std::uint64_t sum = contents.null_packets;
    for (const auto* const figures : contents.PIDs.all())
        sum += figures->packets;
    EXPECT_EQ(sum, contents.packets);
}

TEST(StreamContents, TellsWhatIsScrambled)
{
    MonitoredStream watched;
    watched.run(300);
    watched.stream.packet(audio_PID, Stream::goes_on, Bytes(184));
    watched.stream.data[3] |= 0xC0;
    watched.flush();
    EXPECT_TRUE(watched.monitor.contents().PIDs.find(audio_PID)->is_scrambled);
    EXPECT_EQ(watched.monitor.contents().scrambled_packets, 1U);
    watched.run(300);
    EXPECT_FALSE(watched.monitor.contents().PIDs.find(audio_PID)->is_scrambled);
}

TEST(StreamContents, CountsWhatARepetitionIs)
{
    MonitoredStream watched;
    watched.run(300);
    watched.stream.packet(audio_PID, Stream::goes_on, Bytes(184));
    const auto packet = watched.stream.data;
    watched.stream.data.insert(watched.stream.data.end(), packet.begin(), packet.end());
    watched.flush();
    EXPECT_EQ(watched.monitor.contents().PIDs.find(audio_PID)->repeated_packets, 1U);
    EXPECT_EQ(watched.errors(), "");
}

TEST(TableChanges, AreToldWithTheVersionBeforeThem)
{
    Listener listener;
    MonitoredStream watched({}, &listener);
    for (const char* const part : {"NIT", "SDT", "EIT 0", "EIT 1", "TDT"})
        watched.stop(part);
    watched.run(1000);
    EXPECT_THAT(listener.tables, ElementsAre("complete 0x00 on 0x0000: 0 -> 0", "complete 0x02 on 0x0100: 0 -> 0"));
    listener.tables.clear();
    watched.parts["PMT"].send = [](Stream& s) {
        s.section(PMT_PID, zqtest::PMT_section_of(1, video_PID, {{0x1B, video_PID}, {0x0F, audio_PID}}, 7));
    };
    watched.run(1000);
    EXPECT_THAT(listener.tables, ElementsAre("changed 0x02 on 0x0100: 0 -> 7"));
    const auto& tables = watched.monitor.contents().tables;
    ASSERT_THAT(tables, SizeIs(2));
    EXPECT_EQ(tables.rbegin()->second.version_number, 7U);
    EXPECT_EQ(tables.rbegin()->second.changes, 1U);
    EXPECT_EQ(watched.monitor.contents().services.at(0).PMT_version, 7U);
    EXPECT_EQ(watched.monitor.contents().PIDs.find(audio_PID)->stream_type, 0x0FU);
}

TEST(TableChanges, OfThePATMoveItsPrograms)
{
    MonitoredStream watched;
    watched.run(300);
    watched.parts["PAT"].send = [](Stream& s) {
        s.section(0, zqtest::section_of(0x00, {0, 2, 0xC3, 0, 0, 0, 5, 0xE2, 0x00})); // of another stream
    };
    watched.parts["PMT"].send = [](Stream& s) {
        s.section(0x200, zqtest::PMT_section_of(5, video_PID, {{0x1B, video_PID}, {0x03, audio_PID}}));
    };
    watched.run(2000);
    EXPECT_EQ(watched.errors(), "");
    const auto& contents = watched.monitor.contents();
    EXPECT_EQ(contents.transport_stream_id, 2U);
    ASSERT_THAT(contents.services, SizeIs(1));
    EXPECT_EQ(contents.services[0].program_number, 5U);
    EXPECT_TRUE(contents.services[0].has_PMT);
    // PAT and PMT; SDT, NIT as they were.
    EXPECT_THAT(contents.tables, SizeIs(4));
}

TEST(SpliceCommands, AreToldWithHowFarAheadTheyAre)
{
    Listener listener;
    MonitoredStream watched({}, &listener);
    watched.parts["PMT"].send = [](Stream& s) {
        s.section(PMT_PID, zqtest::PMT_section_of(1, video_PID, {{0x1B, video_PID}, {0x03, audio_PID}, {0x86, 0x103}}));
    };
    watched.run(1000);
    const std::uint64_t PCR = 90 * (1'000'000 + 962); // the last one
    const auto time_signal = [](std::uint64_t pts_time, unsigned pts_adjustment) {
        Bytes body{0, 0, 0, 0, 0, 0, 0, 0xFF, 0xF0, 5, 0x06};
        body[5] = static_cast<unsigned char>(pts_adjustment);
        body = body + Bytes{static_cast<unsigned char>(0xFE | pts_time >> 32)} +
               zqtest::big_endian(pts_time & 0xFFFFFFFF, 4) + Bytes{0, 0};
        return zqtest::section_of(0xFC, body, 0x3);
    };
    watched.stream.section(0x103, time_signal(PCR + 9 * 10'000 - 5, 5));
    watched.stream.section(0x103, time_signal(PCR - 90, 0));
    const Bytes splice_null = zqtest::section_of(0xFC, {0, 0, 0, 0, 0, 0, 0, 0xFF, 0xF0, 0, 0x00, 0, 0}, 0x3);
    watched.stream.section(0x103, splice_null);
    watched.flush();
    ASSERT_THAT(listener.splices, SizeIs(3));
    EXPECT_EQ(listener.splices[0].PID, 0x103U);
    EXPECT_EQ(listener.splices[0].program_number, 1U);
    EXPECT_EQ(listener.splices[0].type, 6U);
    EXPECT_EQ(listener.splices[0].pts_time, PCR + 90'000);
    EXPECT_EQ(listener.splices[0].ahead, 1'000'000'000);
    EXPECT_EQ(listener.splices[1].ahead, -1'000'000);
    EXPECT_EQ(listener.splices[2].type, 0U);
    EXPECT_EQ(listener.splices[2].pts_time, std::nullopt);
    EXPECT_EQ(listener.splices[2].ahead, std::nullopt);
}

TEST(Bounds, PIDsBeyondTheMostAreCountedTogether)
{
    MonitorLimits limits;
    limits.most_PIDs = 20;
    MonitoredStream watched(limits);
    for (unsigned PID = 0x20; PID < 0x1FFF; ++PID)
        watched.stream.packet(PID, Stream::goes_on, Bytes(184));
    watched.flush();
    EXPECT_EQ(watched.monitor.contents().PIDs.size(), 20U);
    EXPECT_EQ(watched.monitor.contents().untold_packets, 0x1FFFU - 0x20 - 20);
    // In the end those that were there make room.
    watched.run(62'000);
    EXPECT_EQ(watched.monitor.contents().PIDs.find(0x20), nullptr);
    EXPECT_NE(watched.monitor.contents().PIDs.find(video_PID), nullptr);
}

TEST(Bounds, SectionsOfSoManyPIDsAreGathered)
{
    MonitorLimits limits;
    limits.most_section_PIDs = 1;
    MonitoredStream watched(limits);
    watched.parts["PAT"].send = [](Stream& s) { s.section(0, zqtest::PAT_of({PMT_PID, 0x300})); };
    watched.parts["other"] = {[](Stream& s) {
                                  s.section(0x300, zqtest::PMT_section_of(2, 0x1FFF, {{0x1B, 0x301}}));
                                  s.packet(0x301, Stream::begins, zqtest::PES_start());
                              },
                              100, 1};
    watched.run(5000);
    const auto& services = watched.monitor.contents().services;
    ASSERT_THAT(services, SizeIs(2));
    EXPECT_NE(services[0].has_PMT, services[1].has_PMT);
    // What is not looked at is no error.
    EXPECT_EQ(watched.errors(), "");
}

TEST(Bounds, NothingIsAllocatedForPacketsOfAStreamThatIsKnown)
{
    MonitoredStream watched;
    watched.run(6000);
    // What the next second brings, and in which millisecond.
    std::vector<std::pair<unsigned, Bytes>> second;
    for (unsigned at = 0; at < 1000; ++at) {
        for (auto& [name, part] : watched.parts)
            if (part.interval != 0 && at % part.interval == 0)
                part.send(watched.stream);
        second.emplace_back(at, std::move(watched.stream.data));
        watched.stream.data.clear();
    }
    const std::uint64_t now = watched.now();
    const std::size_t before = zqtest::allocations();
    for (const auto& [at, packets] : second)
        watched.monitor.put(packets.data(), packets.size() / 188, now + at * MonitoredStream::ms);
    watched.monitor.tick(now + 1000 * MonitoredStream::ms);
    EXPECT_EQ(zqtest::allocations(), before);
    EXPECT_GT(second[0].second.size(), 188U);
}

TEST(LongRun, TakesAStepOfTheClockForSilence)
{
    MonitoredStream watched;
    watched.run(2000);
    watched.pause(24 * 3600 * 1000);
    watched.run(2000);
    EXPECT_EQ(watched.errors(), "1.1: 1");
    EXPECT_EQ(watched.state(Check::PAT_error_2), mpegcore::CheckState::ok);
}

TEST(LongRun, GoesOverTheWrapOfThePCRWithoutAnError)
{
    MonitoredStream watched;
    std::uint64_t base = (std::uint64_t{1} << 33) - 90'000;
    watched.parts["PCR"].send = [&base](Stream& s) { s.PCR(video_PID, (base += 3600) % (std::uint64_t{1} << 33), 0); };
    watched.run(3000);
    EXPECT_EQ(watched.errors(), "");
    EXPECT_GT(base, std::uint64_t{1} << 33);
}

TEST(LongRun, TakesTimesUpToTheEndOfTheClock)
{
    mpegcore::StreamMonitor monitor;
    const std::uint64_t end = ~std::uint64_t{0};
    Stream stream;
    stream.section(0, zqtest::PAT_of({PMT_PID}));
    for (const std::uint64_t back : {2'000'000'000U, 1'900'000'000U, 1'500'000'000U, 1U, 0U}) {
        monitor.put(stream.data.data(), stream.packets(), end - back);
        monitor.tick(end - back);
    }
    EXPECT_EQ(monitor.checks()[Check::TS_sync_loss].count, 1U); // 1.5 s of silence
    EXPECT_EQ(monitor.checks()[Check::PAT_error_2].count, 0U);
}

TEST(HostileInput, OfAnyBytesIsWatched)
{
    std::mt19937 random(7);
    MonitoredStream watched;
    watched.run(200);
    for (int round = 0; round < 300; ++round) {
        Bytes packets(7 * 188);
        for (auto& byte : packets)
            byte = static_cast<unsigned char>(random());
        for (std::size_t at = 0; at < packets.size(); at += 188) {
            packets[at] = 0x47;
            // Mostly PIDs that are looked into.
            if (random() % 4 != 0) {
                packets[at + 1] &= 0x41;
                packets[at + 2] &= 0x17;
                packets[at + 3] &= 0x3F;
            }
        }
        watched.monitor.put(packets.data(), 7, watched.now());
        watched.run(3);
    }
    EXPECT_GT(watched.count(Check::Continuity_count_error), 100U);
    EXPECT_LE(watched.monitor.contents().PIDs.size(), MonitorLimits{}.most_PIDs);
}

TEST(HostileInput, OfTablesThatChangeAllTheTimeIsWatched)
{
    std::mt19937 random(11);
    MonitoredStream watched;
    for (unsigned round = 0; round < 300; ++round) {
        Bytes programs{0, 1, static_cast<unsigned char>(0xC1 | (round & 31) << 1), 0, 0};
        for (unsigned at = 0; at < 200; ++at)
            programs = programs + zqtest::big_endian(random() & 0xFFFF, 2) +
                       zqtest::big_endian(0xE000U | (random() & 0x1FFF), 2);
        watched.stream.section(0, zqtest::section_of(0x00, programs));
        for (const unsigned table_id : {0x40U, 0x42U, 0x46U, 0x4AU}) {
            Bytes body(300);
            for (auto& byte : body)
                byte = static_cast<unsigned char>(random());
            body[2] = 0xC1;
            body[3] = body[4] = 0;
            watched.stream.section(table_id == 0x40 ? 0x10 : 0x11,
                                   zqtest::section_of(static_cast<std::uint8_t>(table_id), body));
        }
        watched.flush();
        watched.monitor.tick(watched.now());
        EXPECT_LE(watched.monitor.contents().services.size(), 201U);
        EXPECT_LE(watched.monitor.contents().PIDs.size(), MonitorLimits{}.most_PIDs);
        EXPECT_LE(watched.monitor.contents().tables.size(), 1024U);
    }
}
} // namespace StreamContents_test
