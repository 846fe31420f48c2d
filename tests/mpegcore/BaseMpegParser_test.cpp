// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Multiplex.h"
#include "support/ParserJournal.h"
#include "support/RecordingParser.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace BaseMpegParser_test
{
using mpegcore::transport_packet;
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::RecordingParser;
using zqtest::section_of;
using zqtest::Stream;
using zqtest::operator+;

class Parser : public zqtest::ParserTest
{};

TEST_F(Parser, IgnoresStreamPacketsBeforeTheirPmtButForTheLastCallback)
{
    stream.section(0, PAT({{1, 0x100}})).packet(0x101, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("PAT", "other"));
}

TEST_F(Parser, ReportsAStreamPacketInThreeFormsAndLast)
{
    program(0x1FFE, {0x101});
    stream.packet(0x101, begins, payload).packet(0x101, goes_on, payload).packet(0x101, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("PES 256", "PES 256 program 1", "other", "PES 256", "PES 256 program 1", "other",
                                    "PES 256 unit 368", "PES 256", "PES 256 program 1", "other"));
}

TEST_F(Parser, ReportsAStreamOfTwoPmtsOncePerPmtInAscendingOrder)
{
    stream.section(0, PAT({{1, 0x300}, {2, 0x200}}))
        .section(0x300, PMT(1, 0x1FFE, {0x101}))
        .section(0x200, PMT(2, 0x1FFE, {0x101}));
    feed();
    stream.packet(0x101, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("PES 512", "PES 512 program 2", "PES 768", "PES 768 program 1", "other"));
}

TEST_F(Parser, ReportsAPcrOnAStreamsPidButMeasuresNothing)
{
    program(0x101, {0x101});
    stream.PCR(0x101, 90000, 0);
    EXPECT_THAT(feed(), ElementsAre("PCR", "PES 256", "PES 256 program 1", "other"));
    EXPECT_EQ(journal.m_PIDs[0x101].last_pcr, 0U);
}

TEST_F(Parser, MeasuresTheStreamsByAPcrOnAPidOfItsOwn)
{
    program(0x105, {0x101, 0x102});
    stream.packet(0x101, begins, payload).PCR(0x105, 90000, 0);
    EXPECT_THAT(feed(), ElementsAre("PES 256", "PES 256 program 1", "other", "PCR", "PES 256 null", "other"));
    EXPECT_EQ(journal.m_PIDs[0x101].bitrate, 184 * 8);
    EXPECT_EQ(journal.m_PIDs[0x102].last_pcr, 10000000U);
    EXPECT_EQ(journal.m_PIDs[0x105].last_pcr, 0U);
}

TEST_F(Parser, TakesAPacketOnThePcrPidWithoutAPcrForAnyOther)
{
    program(0x105, {0x101}, CA(0x105));
    stream.packet(0x105, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("ECM", "other"));
    // A PCR in a field announced too short for it is still read and reported, but does not measure.
    stream.raw(0x105, goes_on, 3, Bytes{6, 0x10} + Stream::PCR_bytes(90000, 0));
    EXPECT_THAT(feed(), ElementsAre("PCR", "ECM", "other"));
    stream.PCR(0x105, 90000, 0);
    EXPECT_THAT(feed(), ElementsAre("PCR", "PES 256 null", "other"));
}

TEST_F(Parser, ReportsAnEcmOncePerDescriptorThatNamesThePid)
{
    program(0x101, {0x101}, CA(0x150) + CA(0x151) + CA(0x150));
    stream.packet(0x150, begins, payload).packet(0x151, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("ECM", "ECM", "other", "ECM", "other"));
}

TEST_F(Parser, ReportsEmmsOncePatAndCatAreKnown)
{
    stream.section(1, section_of(0x01, Bytes{0xFF, 0xFF, 0xC1, 0, 0} + CA(0x0100))).packet(0x100, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("CAT"));
    stream.section(0, PAT({{1, 0x200}})).packet(0x100, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("PAT", "EMM", "other"));
    stream.section(1, section_of(0x01, Bytes{0xFF, 0xFF, 0xC1, 0, 0} + CA(0x0101))).packet(0x100, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("CAT", "other"));
}

TEST_F(Parser, DropsAPacketWithABadAdaptationFieldBetweenItsFirstAndLastCallback)
{
    stream.section(0, PAT({{1, 0x100}})).raw(0x101, begins, 3, {184, 0}).raw(0x101, begins, 3, {183, 0x02, 189});
    EXPECT_THAT(feed(), ElementsAre("PAT"));
    EXPECT_EQ(journal.begun, 3);
    EXPECT_EQ(journal.ended, 3);
    EXPECT_EQ(journal.m_PIDs[0x101].bytes, 0U);
}

TEST_F(Parser, ReportsAPcrOnATablePidBeforeTheTable)
{
    Bytes section = Bytes{0} + PAT({{1, 0x100}});
    stream.PCR(0, 90000, 0, begins, section);
    EXPECT_THAT(feed(), ElementsAre("PCR", "PAT"));
}

TEST_F(Parser, FillsTheRecordOfAPacket)
{
    stream.packet(0x1ABC, begins, Bytes(100, 1));
    stream.data[1] |= 0xA0;
    stream.data[3] = 0xB9;
    unsigned char* const data = stream.data.data();
    Bytes kept = stream.data;
    journal.Process(data, 188);
    const auto& p = journal.last;
    EXPECT_EQ(p.transport_error_indicator, 1);
    EXPECT_EQ(p.payload_unit_start_indicator, 1);
    EXPECT_EQ(p.transport_priority, 1);
    EXPECT_EQ(p.PID, 0x1ABC);
    EXPECT_EQ(p.transport_scrambling_control, 2);
    EXPECT_EQ(p.adaptation_field_control, 3);
    EXPECT_EQ(p.continuity_counter, 9);
    EXPECT_EQ(p.adaptation_field.adaptation_field_length, 83);
    EXPECT_EQ(p.packet, data);
    EXPECT_EQ(p.packet_size, 188U);
    EXPECT_EQ(p.payload, data + 88);
    EXPECT_EQ(p.payload_size, 100U);
}

TEST_F(Parser, LeavesThePayloadOfAPacketWithoutOneWhereItWas)
{
    stream.packet(0x100, goes_on, Bytes{});
    unsigned char* const data = stream.data.data();
    journal.Process(data, 188);
    EXPECT_EQ(journal.last.adaptation_field_control, 2);
    EXPECT_EQ(journal.last.payload, data + 4);
    EXPECT_EQ(journal.last.payload_size, 184U);
}

TEST_F(Parser, CarriesAnIncompletePacketOverToTheNextCall)
{
    stream.section(0, PAT({{1, 0x100}}));
    Bytes data = stream.data;
    EXPECT_EQ(journal.Process(data.data(), 187), 0U);
    EXPECT_EQ(journal.m_carry, 187U);
    EXPECT_EQ(journal.begun, 0);
    EXPECT_EQ(journal.Process(data.data() + 187, 1), 188U);
    EXPECT_EQ(journal.m_carry, 0U);
    EXPECT_THAT(journal.lines, ElementsAre("PAT"));
}

TEST_F(Parser, WithoutCarryDropsAnIncompletePacketAndStartsAfresh)
{
    Journal dropping(false);
    stream.section(0, PAT({{1, 0x100}}));
    Bytes data = stream.data;
    EXPECT_EQ(dropping.Process(data.data(), 187), 0U);
    EXPECT_EQ(dropping.m_carry, 0U);
    EXPECT_EQ(dropping.Process(data.data() + 187, 1), 0U);
    EXPECT_THAT(dropping.lines, IsEmpty());
    EXPECT_EQ(dropping.Process(data.data(), 188), 188U);
    EXPECT_THAT(dropping.lines, ElementsAre("PAT"));
}

TEST_F(Parser, LooksAtNothingCarriedOverOnceItNoLongerCarries)
{
    stream.packet(0x100, begins, payload).packet(0x100, goes_on, payload);
    journal.Process(stream.data.data(), 100);
    EXPECT_EQ(journal.m_carry, 100U);
    journal.m_useCarry = false;
    EXPECT_EQ(journal.Process(stream.data.data(), 376), 376U);
    EXPECT_EQ(journal.ended, 2);
}

TEST_F(Parser, TakesNoDataAtAll)
{
    EXPECT_EQ(journal.Process(nullptr, 0), 0U);
    Bytes data(100, 0x47);
    journal.Process(data.data(), data.size());
    EXPECT_EQ(journal.Process(nullptr, 0), 0U);
    EXPECT_EQ(journal.m_carry, 100U);
}

TEST_F(Parser, SearchesForTheNextSyncByte)
{
    stream.section(0, PAT({{1, 0x100}}));
    Bytes data = Bytes(50, 0x00) + stream.data + Bytes(300, 0x11) + stream.data;
    EXPECT_EQ(journal.Process(data.data(), data.size()), data.size());
    EXPECT_THAT(journal.lines, ElementsAre("PAT", "PAT"));
}

TEST_F(Parser, TakesASyncByteWithinAPayloadForAPacketOnceSyncIsLost)
{
    // Two packets of null data with a 0x47 in the first payload, of which the head is missing.
    stream.null().null().null();
    Bytes data(stream.data.begin() + 10, stream.data.end());
    data[20] = 0x47;
    EXPECT_EQ(journal.Process(data.data(), data.size()), data.size());
    EXPECT_EQ(journal.begun, 2) << "the false packet and the one found behind it";
}

TEST_F(Parser, CarriesBytesWithoutASyncByteOverToo)
{
    Bytes data(400, 0x00);
    EXPECT_EQ(journal.Process(data.data(), data.size()), 400U - 187);
    EXPECT_EQ(journal.m_carry, 187U);
    stream.section(0, PAT({{1, 0x100}}));
    EXPECT_EQ(journal.Process(stream.data.data(), 188), 187U + 188);
    EXPECT_THAT(journal.lines, ElementsAre("PAT"));
}

TEST_F(Parser, GivesTheSameForEverySizeOfPieces)
{
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x1FFE, {0x101}));
    for (int count = 0; count < 20; ++count)
        stream.packet(0x101, count % 7 == 0 ? begins : goes_on, payload);
    Bytes data = stream.data;
    data.insert(data.begin() + 188 * 5 + 17, {0x47, 0x00, 0x47});
    data.insert(data.begin(), 30, 0x47);
    Journal whole(true);
    const auto consumed = whole.Process(data.data(), data.size());
    for (std::size_t piece = 1; piece < 600; ++piece) {
        Journal pieces(true);
        std::size_t sum = 0;
        for (std::size_t at = 0; at < data.size(); at += piece)
            sum += pieces.Process(data.data() + at, std::min(piece, data.size() - at));
        EXPECT_EQ(sum, consumed) << piece;
        EXPECT_EQ(pieces.lines, whole.lines) << piece;
        EXPECT_EQ(pieces.m_carry, whole.m_carry) << piece;
    }
}

TEST_F(Parser, ForgetsEverythingWhenCleared)
{
    program(0x1FFE, {0x101});
    stream.section(1, section_of(0x01, Bytes{0xFF, 0xFF, 0xC1, 0, 0} + CA(0x0101))).packet(0x101, begins, payload);
    stream.data.resize(stream.data.size() - 10);
    feed();
    EXPECT_GT(journal.m_carry, 0U);
    journal.Clear();
    EXPECT_EQ(journal.m_carry, 0U);
    EXPECT_EQ(journal.m_carryBuffer.capacity(), 0U);
    EXPECT_EQ(journal.m_PAT.valid, 0);
    EXPECT_TRUE(journal.m_PAT.current->programs.empty());
    EXPECT_EQ(journal.m_CAT.valid, 0);
    EXPECT_TRUE(journal.m_PMTs.empty());
    stream.packet(0x101, begins, payload);
    EXPECT_THAT(feed(), IsEmpty());
    stream.section(0, PAT({{1, 0x100}})).packet(0x101, begins, payload).section(0x100, PMT(1, 0x1FFE, {0x101}));
    EXPECT_THAT(feed(), ElementsAre("PAT", "other", "PMT 1 1"));
    Bytes data(100, 0x47);
    journal.Process(data.data(), data.size());
    EXPECT_EQ(journal.m_carry, 100U) << "the buffer comes back when it is needed";
}

TEST_F(Parser, HasTheBuffersThatItsTablesNeed)
{
    EXPECT_EQ(journal.m_PAT.current->capacity, 1024U);
    EXPECT_EQ(journal.m_BAT.current->capacity, 4096U);
    EXPECT_EQ(journal.m_EITschOther.work->capacity, 4096U);
    EXPECT_EQ(journal.m_carryBuffer.capacity(), 187U);
    EXPECT_EQ(journal.m_carryBuffer.alignment(), 8U);
}

TEST_F(Parser, HasCallbacksThatDoNothing)
{
    mpegcore::CBaseMpegParser parser(true);
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x105, {0x101})).PCR(0x105, 1, 0);
    stream.packet(0x101, begins, Bytes(184)).packet(0x101, begins, Bytes(184)).null();
    EXPECT_EQ(parser.Process(stream.data.data(), stream.data.size()), stream.data.size());
    unsigned char byte = 0;
    parser.ParcerPESPacket(&byte);
}

TEST(BaseParser, RefusesAnAdaptationFieldLongerThanThePayloadItIsGiven)
{
    mpegcore::CBaseMpegParser parser(true);
    Bytes bytes(188);
    bytes[4] = 50;
    transport_packet packet{};
    packet.PID = 0x100;
    packet.adaptation_field_control = 3;
    packet.payload = bytes.data() + 4;
    packet.payload_size = 50;
    EXPECT_FALSE(parser.ParserData(packet));
    packet.payload_size = 184;
    EXPECT_TRUE(parser.ParserData(packet));
    EXPECT_EQ(packet.payload_size, 133U);
}

TEST(BaseParser, RefusesAPidThatNoPacketCanHave)
{
    mpegcore::CBaseMpegParser parser(true);
    transport_packet packet{};
    packet.PID = 8192;
    EXPECT_FALSE(parser.ParserData(packet));
}
} // namespace BaseMpegParser_test
