// SPDX-License-Identifier: LGPL-2.1-or-later
// The parser with sections by the standard: programs and routes by all sections of a table.
#include "support/StandardJournal.h"

namespace StandardPrograms_test
{
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::good_section;
using zqtest::Stream;
using namespace zqtest::standard;

TEST(StandardPrograms, ListenToThePMTsFromThePacketBehindThePATOn)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0x100, PMT(1, {0x101})).section(0, PAT({{0, 0x1F0}, {1, 0x100}})).section(0x100, PMT(1, {0x101}));
    stream.section(0x1F0, good_section(0x40, 20)); // the network_PID has no PMT
    EXPECT_THAT(parser.feed(stream), ElementsAre("section 0 0", "PAT", "section 256 2", "PMT 1 1", "other"));
}

TEST(StandardPrograms, TakeAPATOfSeveralSectionsForOneTable)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}}, 0, 0, 1)).section(0, PAT({{2, 0x200}}, 0, 1, 1));
    stream.section(0x100, PMT(1, {0x101})).section(0x200, PMT(2, {0x201}));
    EXPECT_THAT(parser.tables(stream), ElementsAre("PAT", "PAT", "PMT 1 1", "PMT 2 2"));
    stream.section(0, PAT({{1, 0x100}}, 0, 0, 1)).section(0, PAT({{2, 0x200}}, 0, 1, 1));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x101, 0x201}),
                ElementsAre("257: PES 256 program 1", "513: PES 512 program 2"));
}

TEST(StandardPrograms, DropTheStreamsOfAProgramThatANewPATNoLongerHas)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}, {2, 0x200}})).section(0x100, PMT(1, {0x101})).section(0x200, PMT(2, {0x201}));
    parser.feed(stream);
    ASSERT_EQ(routes(parser, stream, {0x101, 0x201}).size(), 2U);
    stream.section(0, PAT({{2, 0x200}}, 1));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x101, 0x201}), ElementsAre("513: PES 512 program 2"));
    stream.section(0x100, PMT(1, {0x101}));
    EXPECT_THAT(parser.feed(stream), ElementsAre("other"));
    stream.section(0, PAT({{1, 0x100}, {2, 0x200}}, 2)).section(0x100, PMT(1, {0x101}));
    parser.feed(stream);
    EXPECT_EQ(routes(parser, stream, {0x101, 0x201}).size(), 2U);
}

TEST(StandardPrograms, KeepTheProgramsUntilEverySectionOfTheNewPATIsThere)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    stream.section(0, PAT({{2, 0x200}}, 1, 0, 1)).section(0x200, PMT(2, {0x201}));
    parser.feed(stream);
    EXPECT_EQ(routes(parser, stream, {0x101, 0x201}).size(), 2U);
    stream.section(0, PAT({{3, 0x300}}, 1, 1, 1));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x101, 0x201}), ElementsAre("513: PES 512 program 2"));
}

TEST(StandardPrograms, DropTheStreamsOfAProgramWhosePMTMoves)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    stream.section(0, PAT({{1, 0x200}}, 1));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x101}), IsEmpty());
    stream.section(0x100, PMT(1, {0x101})).section(0x200, PMT(1, {0x101}));
    EXPECT_THAT(parser.feed(stream), ElementsAre("other", "section 512 2", "PMT 1 1"));
    EXPECT_THAT(routes(parser, stream, {0x101}), ElementsAre("257: PES 512 program 1"));
}

TEST(StandardPrograms, TakeAnotherTransportStreamsPATForANewOne)
{
    StandardJournal parser;
    Stream stream;
    const auto first = PAT({{1, 0x100}});
    auto second = versioned_section(0x00, 2, {0x00, 0x02, 0xE2, 0x00}, 0, 0, 0, true);
    for (unsigned round = 0; round < 2; ++round) {
        stream.section(0, first).section(0x100, PMT(1, {0x101}));
        parser.feed(stream);
        EXPECT_THAT(routes(parser, stream, {0x101, 0x201}), ElementsAre("257: PES 256 program 1"));
        stream.section(0, second).section(0x200, PMT(2, {0x201}));
        parser.feed(stream);
        EXPECT_THAT(routes(parser, stream, {0x101, 0x201}), ElementsAre("513: PES 512 program 2"));
    }
}

TEST(StandardPrograms, TakeAPMTOfSeveralSectionsForOneTable)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}, 0, 0, 1));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x101, 0x102}), IsEmpty());
    stream.section(0x100, PMT(1, {0x102}, 0, 1, 1));
    EXPECT_THAT(parser.tables(stream), ElementsAre("PMT 1 1"));
    EXPECT_THAT(routes(parser, stream, {0x101, 0x102}),
                ElementsAre("257: PES 256 program 1", "258: PES 256 program 1"));
    stream.section(0x100, PMT(1, {0x103}, 1, 1, 1));
    parser.feed(stream);
    EXPECT_EQ(routes(parser, stream, {0x101, 0x102, 0x103}).size(), 2U);
    stream.section(0x100, PMT(1, {0x101}, 1, 0, 1));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x101, 0x102, 0x103}),
                ElementsAre("257: PES 256 program 1", "259: PES 256 program 1"));
}

TEST(StandardPrograms, TellProgramsApartWhosePMTsShareAPID)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}, {2, 0x100}}));
    for (unsigned round = 0; round < 3; ++round)
        stream.section(0x100, PMT(1, {0x101, 0x103})).section(0x100, PMT(2, {0x102, 0x103}));
    EXPECT_THAT(parser.tables(stream),
                ElementsAre("PAT", "PMT 1 1", "PMT 2 2", "PMT 1 1", "PMT 2 2", "PMT 1 1", "PMT 2 2"));
    EXPECT_THAT(routes(parser, stream, {0x101, 0x102, 0x103}),
                ElementsAre("257: PES 256 program 1", "258: PES 256 program 2", "259: PES 256 program 1",
                            "259: PES 256 program 2"));
    stream.section(0, PAT({{2, 0x100}}, 1));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x101, 0x102, 0x103}),
                ElementsAre("258: PES 256 program 2", "259: PES 256 program 2"));
}

TEST(StandardPrograms, TakeACATOfSeveralSectionsForOneTable)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(1, CAT(0x500, 0, 0, 1)).section(1, CAT(0x501, 0, 1, 1));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x500, 0x501}), ElementsAre("1280: EMM", "1281: EMM"));
    stream.section(1, CAT(0x502, 1, 0, 0));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x500, 0x501, 0x502}), ElementsAre("1282: EMM"));
}

TEST(StandardPrograms, OutliveErasedEntriesOfThePMTs)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    parser.feed(stream);
    parser.m_PMTs.clear();
    EXPECT_EQ(routes(parser, stream, {0x101}).size(), 1U);
    stream.section(0x100, PMT(1, {0x101}));
    EXPECT_THAT(parser.tables(stream), ElementsAre("PMT 1 1"));
    EXPECT_EQ(parser.m_PMTs.count(0x100), 1U);
}

TEST(StandardPrograms, MeasureBitRatesOfStreamsByTheirPCR)
{
    StandardJournal parser;
    auto pmt = PMT(1, {0x101});
    pmt[8] = 0xE1;
    pmt[9] = 0x02; // PCR_PID 0x0102
    pmt.resize(pmt.size() - 4);
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, zqtest::with_CRC(pmt));
    stream.PCR(0x102, 90000, 0).packet(0x101, Stream::goes_on, Bytes(184)).PCR(0x102, 180000, 0);
    parser.feed(stream);
    EXPECT_EQ(parser.m_PIDs[0x101].bitrate, 184 * 8);
}

TEST(StandardPrograms, FollowAPMTThatComesBackAfterOneThatIsRefused)
{
    StandardJournal parser;
    Stream stream;
    auto refused = PMT(1, {0x102}, 1);
    refused.resize(refused.size() - 4);
    refused[1] |= 0x40; // private_indicator
    refused = zqtest::with_CRC(refused);
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101})).section(0x100, PMT(1, {0x101}));
    EXPECT_THAT(parser.tables(stream), ElementsAre("PAT", "PMT 1 1", "PMT 1 1"));
    stream.section(0x100, refused);
    EXPECT_THAT(parser.tables(stream), IsEmpty());
    stream.section(0x100, PMT(1, {0x101})).section(0x100, PMT(1, {0x103}, 1));
    EXPECT_THAT(parser.tables(stream), ElementsAre("PMT 1 1", "PMT 1 1"));
    EXPECT_THAT(routes(parser, stream, {0x101, 0x102, 0x103}), ElementsAre("259: PES 256 program 1"));
    stream.section(0x100, PMT(1, {0x101}));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x101, 0x102, 0x103}), ElementsAre("257: PES 256 program 1"));
}

TEST(StandardPrograms, FollowAPMTWhoseSectionStaysAndWhoseOtherSectionComesAndGoes)
{
    StandardJournal parser;
    Stream stream;
    const auto one = PMT(1, {0x101}, 0, 0, 0), first = PMT(1, {0x101}, 0, 0, 1), second = PMT(1, {0x102}, 0, 1, 1);
    stream.section(0, PAT({{1, 0x100}}));
    for (unsigned round = 0; round < 3; ++round) {
        stream.section(0x100, one).section(0x100, one);
        parser.feed(stream);
        EXPECT_THAT(routes(parser, stream, {0x101, 0x102}), ElementsAre("257: PES 256 program 1"));
        stream.section(0x100, first).section(0x100, first);
        parser.feed(stream);
        EXPECT_EQ(routes(parser, stream, {0x101, 0x102}).size(), 1U);
        stream.section(0x100, second).section(0x100, second);
        parser.feed(stream);
        EXPECT_EQ(routes(parser, stream, {0x101, 0x102}).size(), 2U);
    }
}
} // namespace StandardPrograms_test
