// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/ParserJournal.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>

namespace PlainPackets_test
{
using mpegcore::transport_packet;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using zqtest::Bytes;
using zqtest::Stream;
using zqtest::operator+;

class PlainPackets : public zqtest::ParserTest
{};

/// Writes down the record of every packet as it is before and after it was handled, pointers relative to the packet.
class RecordJournal : public mpegcore::CBaseMpegParser
{
public:
    using mpegcore::CBaseMpegParser::CBaseMpegParser;

    void OnPreProcess(unsigned int, const transport_packet& p) override { note(p); }
    void OnProcess(unsigned int, transport_packet& p) override { note(p); }

    std::vector<Bytes> records;

private:
    void note(const transport_packet& p)
    {
        Bytes record{p.sync_byte,
                     p.transport_error_indicator,
                     p.payload_unit_start_indicator,
                     p.transport_priority,
                     static_cast<unsigned char>(p.PID >> 8),
                     static_cast<unsigned char>(p.PID),
                     p.transport_scrambling_control,
                     p.adaptation_field_control,
                     p.continuity_counter,
                     static_cast<unsigned char>(p.packet_size),
                     static_cast<unsigned char>(p.payload_size),
                     static_cast<unsigned char>(p.payload - p.packet),
                     p.packet[5]};
        const auto* const field = reinterpret_cast<const unsigned char*>(&p.adaptation_field);
        record.insert(record.end(), field, field + sizeof p.adaptation_field);
        records.push_back(std::move(record));
    }
};

/// Handles packet by packet from records filled here.
template <class P>
void walk(P& parser, Bytes& data)
{
    for (std::size_t at = 0; at < data.size(); at += mpegcore::ts_packet_size) {
        unsigned char* const bytes = data.data() + at;
        transport_packet packet{};
        packet.sync_byte = bytes[0];
        packet.transport_error_indicator = bytes[1] >> 7;
        packet.payload_unit_start_indicator = bytes[1] >> 6 & 1;
        packet.transport_priority = bytes[1] >> 5 & 1;
        packet.PID = static_cast<unsigned short>((bytes[1] & 0x1F) << 8 | bytes[2]);
        packet.transport_scrambling_control = bytes[3] >> 6;
        packet.adaptation_field_control = bytes[3] >> 4 & 3;
        packet.continuity_counter = bytes[3] & 0xF;
        packet.packet = bytes;
        packet.packet_size = 188;
        packet.payload = bytes + 4;
        packet.payload_size = 184;
        parser.OnPreProcess(0, packet);
        parser.ParserData(packet);
        parser.OnProcess(0, packet);
    }
}

TEST_F(PlainPackets, GivesTheSameWhetherOrNotPacketsComeInRowsThatLookAlike)
{
    std::mt19937 random(7);
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x1FFE, {0x101, 0x102}, CA(0x103)));
    constexpr unsigned PIDs[] = {0x0000, 0x0012, 0x0013, 0x0100, 0x0101, 0x0102, 0x0103, 0x0104, 0x1FFF};
    Bytes header = {0x47, 0x01, 0x01, 0x10};
    for (int count = 0; count < 6000; ++count) {
        if (random() % 5 == 0) {
            const unsigned PID = PIDs[random() % std::size(PIDs)];
            header[1] = static_cast<unsigned char>((random() % 8 == 0 ? random() & 0xE0 : 0) | PID >> 8);
            header[2] = static_cast<unsigned char>(PID);
            header[3] = static_cast<unsigned char>(random() % 4 == 0 ? random() & 0xF0 : 0x10);
        }
        if (random() % 50 == 0) // a stream becomes a PMT, or one again, in the middle of a unit
            stream.section(0, PAT({{1, 0x100}, {2, random() % 2 == 0 ? 0x101 : 0x200}}));
        header[3] = static_cast<unsigned char>((header[3] & 0xF0U) | (random() & 0x0FU));
        stream.data.insert(stream.data.end(), header.begin(), header.end());
        if (random() % 8 == 0)
            *(stream.data.end() - 3) |= 0x40;
        std::generate_n(std::back_inserter(stream.data), 184,
                        [&] { return static_cast<unsigned char>(random() % 190); });
    }
    Journal rows(true), singles(true);
    RecordJournal row_records(true), single_records(true);
    rows.Process(stream.data.data(), stream.data.size());
    row_records.Process(stream.data.data(), stream.data.size());
    walk(singles, stream.data);
    walk(single_records, stream.data);
    EXPECT_EQ(rows.lines, singles.lines);
    EXPECT_EQ(row_records.records, single_records.records);
    for (const unsigned PID : PIDs) {
        const auto& a = row_records.m_PIDs[PID];
        const auto& b = single_records.m_PIDs[PID];
        EXPECT_EQ(a.continuity_counter, b.continuity_counter) << PID;
        EXPECT_EQ(a.bytes, b.bytes) << PID;
        if (PID != 0x1FFF) {
            EXPECT_EQ(Bytes(a.collecting->data, a.collecting->data + a.collecting->size),
                      Bytes(b.collecting->data, b.collecting->data + b.collecting->size))
                << PID;
        }
    }
}

TEST_F(PlainPackets, OfAMultiplexThatLosesSyncAreTheSameInOnePieceAsInMany)
{
    std::mt19937 random(11);
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x1FFE, {0x101, 0x102, 0x103}));
    for (int count = 0; count < 3000; ++count) {
        stream.packet(0x101 + random() % 5, random() % 9 == 0 ? begins : goes_on, payload);
        if (random() % 40 == 0)
            stream.data.insert(stream.data.end(), random() % 400, static_cast<unsigned char>(random() % 0x47));
    }
    // Nothing behind the data: what is fetched ahead must not be looked for there.
    const auto data = std::make_unique<unsigned char[]>(stream.data.size());
    std::copy(stream.data.begin(), stream.data.end(), data.get());
    Journal whole(true);
    const auto consumed = whole.Process(data.get(), stream.data.size());
    EXPECT_EQ(whole.begun, 3002);
    for (const std::size_t piece : {1UL, 188UL, 1316UL, 188 * 17UL, 188 * 70UL + 5}) {
        Journal pieces(true);
        std::size_t sum = 0;
        for (std::size_t at = 0; at < stream.data.size(); at += piece)
            sum += pieces.Process(data.get() + at, std::min(piece, stream.data.size() - at));
        EXPECT_EQ(sum, consumed) << piece;
        EXPECT_EQ(pieces.lines, whole.lines) << piece;
    }
}

TEST_F(PlainPackets, BeginsEveryPacketWithAFreshRecordWhateverACallbackMadeOfTheOneBefore)
{
    program(0x1FFE, {0x101});
    class Scribbler : public Journal
    {
    public:
        using Journal::Journal;
        void OnPreProcess(unsigned int, const transport_packet& p) override { seen.push_back(p.PID + p.payload_size); }
        void onOtherPid(transport_packet* p) override
        {
            p->PID = 0;
            p->sync_byte = p->payload_unit_start_indicator = p->adaptation_field_control = 0xFF;
            p->payload_size = p->packet_size = 0;
        }
        std::vector<unsigned long> seen;
    } scribbler(true);
    stream.section(0, PAT({{1, 0x100}}));
    for (int count = 0; count < 5; ++count)
        stream.packet(0x104, goes_on, payload);
    scribbler.feed(stream);
    EXPECT_THAT(scribbler.seen, ElementsAre(184, 0x104 + 184, 0x104 + 184, 0x104 + 184, 0x104 + 184, 0x104 + 184));
}

TEST_F(PlainPackets, ReportsNullPackets)
{
    stream.null().null();
    EXPECT_THAT(feed(), ElementsAre("NULL", "NULL"));
    EXPECT_EQ(journal.m_PIDs[0x1FFF].bytes, 2 * 184U);
    EXPECT_EQ(journal.m_PIDs[0x1FFF].continuity_counter, 0xFF);
    EXPECT_EQ(journal.m_PIDs[0x1FFF].collecting, nullptr);
}

TEST_F(PlainPackets, ReportsNullPacketsAsSuchAlsoWhereAProgramListsThemAsAStream)
{
    program(0x1FFF, {0x1FFF});
    stream.null().null().null();
    EXPECT_THAT(feed(), ElementsAre("NULL", "NULL", "NULL"));
}

TEST_F(PlainPackets, ReportsNoStreamsOnceClearedUntilThereIsAPatAgain)
{
    program(0x1FFE, {0x101});
    const auto packets = [this] {
        for (int count = 0; count < 8; ++count)
            stream.packet(count % 2 == 0 ? 0x101 : 0x104, goes_on, payload); // the second is in no table
    };
    packets();
    EXPECT_THAT(feed(), SizeIs(4 * 3 + 4));
    journal.Clear();
    packets();
    EXPECT_THAT(feed(), IsEmpty());
}

class Frugal : public zqtest::Journal
{
public:
    explicit Frugal(bool frugal = true) : Journal(true) { collect_units(!frugal); }
    using zqtest::Journal::collect_units;
};

TEST_F(PlainPackets, LeavesOutTheUnitsOfAProgramOnlyWhereToldTo)
{
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x1FFE, {0x101}));
    for (const unsigned PID : {0x101U, 0x102U}) { // 0x102 is of no PMT
        stream.packet(PID, begins, payload);
        for (int count = 0; count < 4; ++count)
            stream.packet(PID, goes_on, payload);
    }
    const auto collected = [this](bool frugal, unsigned PID) {
        Frugal parser(frugal);
        parser.Process(stream.data.data(), stream.data.size());
        return parser.m_PIDs[PID].collecting->size;
    };
    EXPECT_EQ(collected(true, 0x101), 0U);
    EXPECT_EQ(collected(true, 0x102), 5 * 184U);
    EXPECT_EQ(collected(false, 0x101), 5 * 184U);
}

TEST_F(PlainPackets, ReportsNoUnitsWhereToldToLeaveThemOut)
{
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x1FFE, {0x101}));
    // No packet lies between two starts, so nothing of these units was left out.
    for (int count = 0; count < 3; ++count)
        stream.packet(0x101, begins, payload);
    const Bytes bytes = stream.data;
    EXPECT_THAT(Frugal(false).feed(stream), Contains("PES 256 unit 184").Times(2));
    stream.data = bytes;
    EXPECT_THAT(Frugal(true).feed(stream), AllOf(Not(Contains("PES 256 unit 184")), Contains("PES 256").Times(3)));
}

TEST_F(PlainPackets, ReportsWholeUnitsAgainOnceToldTo)
{
    Frugal parser;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x1FFE, {0x101}));
    for (int count = 0; count < 6; ++count)
        stream.packet(0x101, count == 0 ? begins : goes_on, payload);
    parser.feed(stream);
    parser.collect_units(true);
    for (int count = 0; count < 5; ++count)
        stream.packet(0x101, count % 4 == 0 ? begins : goes_on, payload);
    EXPECT_THAT(parser.feed(stream), Contains("PES 256 unit 736").Times(1));
}

// As when a receiver joins: the stream is there before its PMT.
TEST_F(PlainPackets, LeavesOutTheUnitsOfAStreamFromItsPmtOn)
{
    Frugal parser;
    stream.section(0, PAT({{1, 0x100}})).packet(0x101, begins, payload);
    for (int count = 0; count < 8; ++count) {
        stream.packet(0x101, goes_on, payload);
        if (count == 3)
            stream.section(0x100, PMT(1, 0x1FFE, {0x101}));
    }
    parser.Process(stream.data.data(), stream.data.size());
    EXPECT_EQ(parser.m_PIDs[0x101].collecting->size, 0U);
}

TEST_F(PlainPackets, BeginsEveryPacketWithAnEmptyAdaptationField)
{
    for (unsigned flags = 0; flags < 256; ++flags) {
        Bytes packet{0x47, 0x01, 0x00, 0x30, 183, static_cast<unsigned char>(flags)};
        packet.resize(188, 0x11);
        stream.data = packet;
        stream.packet(0x100, goes_on, payload);
        feed();
        static const mpegcore::adaptation_field_record zero{};
        EXPECT_EQ(std::memcmp(&journal.last.adaptation_field, &zero, sizeof zero), 0) << flags;
    }
}
} // namespace PlainPackets_test
