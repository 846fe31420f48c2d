// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/BuiltStreams.h"
#include "support/ByteTable.h"
#include "support/RecordingParser.h"
#include "support/Samples.h"
#include "support/Stream.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace hostile_input_test
{
using zqtest::Bytes;
using zqtest::RecordingParser;
using zqtest::Stream;

class HostileInput : public testing::Test
{
protected:
    void SetUp() override { testing::internal::CaptureStdout(); }
    void TearDown() override
    {
        // Failures are told there too.
        const std::string printed = testing::internal::GetCapturedStdout();
        if (HasFailure())
            std::fputs(printed.c_str(), stdout);
    }

    void feed(RecordingParser& parser, const Bytes& bytes)
    {
        process(parser, bytes.data(), bytes.size());
        EXPECT_EQ(parser.count["callbacks/OnPreProcess"], parser.count["callbacks/OnProcess"]);
    }

    /// From a block of exactly this size.
    void process(mpegcore::CBaseMpegParser& parser, const unsigned char* data, std::size_t size)
    {
        const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
        std::copy_n(data, size, block.get());
        parser.Process(block.get(), size);
    }
};

/// Renders each table, so that whatever was read is looked at, in a fraction of the time that a RecordingParser takes.
class RenderingParser : public mpegcore::CBaseMpegParser
{
public:
    using CBaseMpegParser::CBaseMpegParser;

    void OnPreProcess(unsigned int, const mpegcore::transport_packet&) override { ++begun; }
    void OnProcess(unsigned int, mpegcore::transport_packet&) override { ++ended; }
    void OnPAT(mpegcore::CPAT* table) override { render(*table); }
    void OnPMT(mpegcore::CBaseMpegProgram*, mpegcore::CPMT* table) override { render(*table); }
    void OnCAT(mpegcore::CCAT* table) override { render(*table); }
    void OnTSDT(mpegcore::CTSDT* table) override { render(*table); }
    void OnSDT(mpegcore::CSDT* table) override { render(*table); }
    void OnEIT(mpegcore::CEIT* table) override { render(*table); }
    void OnNIT(mpegcore::CNIT* table) override { render(*table); }
    void OnTDT(mpegcore::CTDT* table) override { render(*table); }
    void OnTOT(mpegcore::CTOT* table) override { render(*table); }
    void OnBAT(mpegcore::CBAT* table) override { render(*table); }

    unsigned long begun = 0, ended = 0, rendered = 0;

private:
    template <class Table>
    void render(Table& table)
    {
        rendered += table.RenderTable() ? 1 : 0;
    }
};

Bytes random_bytes(std::mt19937& random, std::size_t size)
{
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<unsigned char>(random()); });
    return bytes;
}

/// Streams whose packets are table packets one and all, or that hold every kind of table: built ones, and recorded ones
/// where there are any.
std::vector<std::pair<std::string, Bytes>> streams_of_tables()
{
    std::vector<std::pair<std::string, Bytes>> streams{
        {"terrestrial_tables", zqtest::terrestrial_tables().data()},
        {"all_tables_and_descriptors", zqtest::all_tables_and_descriptors().data()}};
    if (const auto folder = zqtest::sample_folder())
        for (const char* name : {"test-184.ts", "sections-built.ts"}) {
            std::ifstream file(*folder / name, std::ios::binary);
            streams.emplace_back(name, Bytes{std::istreambuf_iterator<char>(file), {}});
        }
    return streams;
}

std::size_t collected(const mpegcore::CBaseMpegParser& parser)
{
    std::size_t bytes = 0;
    for (unsigned PID = 0; PID < mpegcore::pid_count; ++PID)
        for (const auto* unit : {parser.m_PIDs[PID].collecting, parser.m_PIDs[PID].completed})
            bytes += unit == nullptr ? 0 : unit->capacity;
    return bytes;
}

TEST_F(HostileInput, OfRandomBytesIsSearchedForPackets)
{
    std::mt19937 random(1);
    RecordingParser parser(true);
    for (int round = 0; round < 500; ++round)
        feed(parser, random_bytes(random, random() % 4000));
    EXPECT_GT(parser.count["callbacks/OnPreProcess"], 0);
}

TEST_F(HostileInput, OfRandomPacketsOnTablePidsIsRead)
{
    std::mt19937 random(2);
    RecordingParser parser(true);
    Stream stream;
    for (int count = 0; count < 50000; ++count) {
        Bytes payload = random_bytes(random, 184);
        payload[2] &= 0x03;
        stream.packet(random() % 0x15, random() % 4 == 0 ? Stream::begins : Stream::goes_on, payload);
    }
    feed(parser, stream.data);
    EXPECT_EQ(parser.count["callbacks/OnPreProcess"], 50000);
}

TEST_F(HostileInput, OfAdaptationFieldsOfEveryLengthIsReadOnEveryKindOfPid)
{
    std::mt19937 random(3);
    RecordingParser parser(true);
    Stream stream;
    for (unsigned length = 0; length < 256; ++length)
        for (const unsigned PID : {0x0000U, 0x0012U, 0x0100U, 0x1FFFU})
            for (const unsigned control : {2U, 3U}) {
                Bytes rest = random_bytes(random, 184);
                rest[0] = static_cast<unsigned char>(length);
                stream.raw(PID, Stream::begins, control, rest);
            }
    feed(parser, stream.data);
    EXPECT_EQ(parser.count["callbacks/OnProcess"], 2048);
}

TEST_F(HostileInput, Of8192BusyPidsStaysWithinTheBudget)
{
    mpegcore::CBaseMpegParser parser(true);
    Stream stream;
    for (unsigned PID = 0; PID < mpegcore::pid_count; ++PID)
        stream.packet(PID, Stream::begins, Bytes(184));
    parser.Process(stream.data.data(), stream.data.size());
    stream.data.clear();
    for (unsigned PID = 0; PID < mpegcore::pid_count; ++PID)
        stream.packet(PID, Stream::goes_on, Bytes(184));
    // 250 rounds without a second start are 46000 bytes on each PID, 377 million in all.
    for (int round = 0; round < 250; ++round)
        parser.Process(stream.data.data(), stream.data.size());
    EXPECT_LE(collected(parser), mpegcore::CBaseMpegParser::unit_memory_limit);
    EXPECT_GT(collected(parser), mpegcore::CBaseMpegParser::unit_memory_limit / 4) << "and makes use of it";
}

TEST_F(HostileInput, ThatUsedUpTheBudgetLeavesRoomForWhatComesAfterIt)
{
    mpegcore::CBaseMpegParser parser(true);
    constexpr unsigned longest = 30000;
    Stream unit;
    for (unsigned count = 0; count < longest; ++count)
        unit.packet(0, count == 0 ? Stream::begins : Stream::goes_on, Bytes(184));
    const auto process_unit = [&](unsigned PID, unsigned packets) {
        for (std::size_t at = 0; at < unit.data.size(); at += mpegcore::ts_packet_size) {
            unit.data[at + 1] = static_cast<unsigned char>((unit.data[at + 1] & 0xE0U) | PID >> 8);
            unit.data[at + 2] = static_cast<unsigned char>(PID);
        }
        parser.Process(unit.data.data(), packets * mpegcore::ts_packet_size);
    };
    // Two units each, the second a little shorter: both buffers of many PIDs become large, and nothing more comes.
    for (unsigned PID = 0x200; PID < 0x200 + 30; ++PID)
        for (const unsigned packets : {longest, 25000U})
            process_unit(PID, packets);
    EXPECT_GT(collected(parser), mpegcore::CBaseMpegParser::unit_memory_limit / 2);
    EXPECT_LE(collected(parser), mpegcore::CBaseMpegParser::unit_memory_limit);
    parser.Clear();
    for (unsigned PID = 0x300; PID < 0x300 + 30; ++PID)
        process_unit(PID, longest);
    std::size_t whole = 0;
    for (unsigned PID = 0x300; PID < 0x300 + 30; ++PID)
        whole += parser.m_PIDs[PID].collecting->size == longest * 184U ? 1 : 0;
    EXPECT_GE(whole, 20U);
}

TEST_F(HostileInput, OfPmtsBeyondTheirLimitIsNotRead)
{
    RecordingParser parser(true);
    // Descriptors of one byte each, which take far more memory than they have bytes.
    Bytes pmt{2, 0xBF, 0xF0, 0, 1, 0xC1, 0, 0, 0xFF, 0xFF, 0xFF, 0xE3};
    while (pmt.size() < 12 + 0xFE3 / 3 * 3)
        pmt.insert(pmt.end(), {0xEE, 1, 0});
    pmt.resize(12 + 0xFE3, 0);
    const std::size_t size = pmt.size() + 4;
    pmt[1] = static_cast<unsigned char>(0xB0 | (size - 3) >> 8);
    pmt[2] = static_cast<unsigned char>(size - 3);
    const std::size_t fit = mpegcore::CBaseMpegParser::PMT_limit / size;
    for (unsigned PID = 0x100; PID < 0x100 + fit + 50; PID += 50) {
        Stream stream;
        Bytes pat{0, 0xB0, 5 + 4 * 50 + 4, 0, 1, 0xC1, 0, 0};
        for (unsigned at = PID; at < PID + 50; ++at)
            pat.insert(pat.end(), {0, 1, static_cast<unsigned char>(0xE0 | at >> 8), static_cast<unsigned char>(at)});
        stream.section(0, zqtest::with_crc(pat));
        for (unsigned at = PID; at < PID + 50; ++at)
            stream.section(at, zqtest::with_crc(pmt));
        feed(parser, stream.data);
    }
    EXPECT_EQ(parser.count["callbacks/OnPMT"], static_cast<long>(fit));
    parser.Clear();
    Stream again;
    again.section(0, zqtest::with_crc({0, 0xB0, 13, 0, 1, 0xC1, 0, 0, 0, 1, 0xE1, 0}));
    again.section(0x100, zqtest::with_crc(pmt));
    feed(parser, again.data);
    EXPECT_EQ(parser.count["callbacks/OnPMT"], static_cast<long>(fit) + 1);
}

TEST_F(HostileInput, OfOneUnitWithoutEndStaysWithinItsLimit)
{
    mpegcore::CBaseMpegParser parser(true);
    Stream stream;
    stream.section(0, zqtest::with_crc({0, 0xB0, 13, 0, 1, 0xC1, 0, 0, 0, 1, 0xE2, 0}));
    stream.packet(0x100, Stream::begins, Bytes(184));
    parser.Process(stream.data.data(), stream.data.size());
    stream.data.clear();
    for (int count = 0; count < 1000; ++count)
        stream.packet(0x100, Stream::goes_on, Bytes(184));
    for (int round = 0; round < 120; ++round) {
        parser.Process(stream.data.data(), stream.data.size());
        ASSERT_LE(collected(parser), mpegcore::CBasePID::max_unit_size + 3 * 4095) << "with the buffers of the PAT";
    }
    EXPECT_EQ(parser.m_PIDs[0x100].collecting->size, 0U) << "the unit passed the limit";
}

TEST_F(HostileInput, OfManyPmtsWithOneStreamIsRouted)
{
    RecordingParser parser(true);
    Stream stream;
    Bytes pat{0, 0xB3, 0xF1, 0, 1, 0xC1, 0, 0};
    for (unsigned PID = 0x400; PID < 0x400 + 250; ++PID)
        pat.insert(pat.end(), {0, 1, static_cast<unsigned char>(0xE0 | PID >> 8), static_cast<unsigned char>(PID)});
    pat[1] = static_cast<unsigned char>(0xB0 | (pat.size() + 1) >> 8);
    pat[2] = static_cast<unsigned char>(pat.size() + 1);
    stream.section(0, zqtest::with_crc(pat));
    for (unsigned PID = 0x400; PID < 0x400 + 250; ++PID)
        stream.section(PID,
                       zqtest::with_crc({2, 0xB0, 18, 0, 1, 0xC1, 0, 0, 0xE1, 0, 0xF0, 0, 0x1B, 0xE1, 0, 0xF0, 0}));
    stream.packet(0x100, Stream::begins, Bytes(184));
    feed(parser, stream.data);
    EXPECT_EQ(parser.count["callbacks/OnPMT"], 250);
    EXPECT_EQ(parser.count["callbacks/OnPES(pmt_pid,es,packet)"], 250);
}

// Every bit of the first packets of each stream, all of them with ZQ_EVERY_BIT, else one in 997.
TEST_F(HostileInput, OfAStreamOfTablesWithAnyBitFlippedIsRead)
{
    const std::size_t step = std::getenv("ZQ_EVERY_BIT") != nullptr ? 1 : 997;
    for (auto& [name, data] : streams_of_tables()) {
        SCOPED_TRACE(name);
        ASSERT_FALSE(data.empty());
        data.resize(std::min<std::size_t>(data.size(), 2000 * 188));
        // A window around the flipped bit, from a unit start on, meets the same code as the whole stream does.
        constexpr std::size_t window = 24 * 188;
        RenderingParser parser(true);
        for (std::size_t bit = 0; bit < 8 * data.size(); bit += step) {
            const std::size_t first = bit / 8 / 188 * 188;
            const std::size_t size = std::min(window, data.size() - first);
            data[bit / 8] ^= static_cast<unsigned char>(0x80 >> bit % 8);
            process(parser, data.data() + first, size);
            ASSERT_EQ(parser.begun, parser.ended);
            data[bit / 8] ^= static_cast<unsigned char>(0x80 >> bit % 8);
        }
        EXPECT_GT(parser.begun, 0U);
        EXPECT_GT(parser.rendered, 0U);
    }
}
} // namespace hostile_input_test
