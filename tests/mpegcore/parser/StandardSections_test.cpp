// SPDX-License-Identifier: LGPL-2.1-or-later
// The parser with sections by the standard.
#include "support/StandardJournal.h"

#include <random>

namespace StandardSections_test
{
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::good_section;
using zqtest::Stream;
using namespace zqtest::standard;

TEST(StandardSections, AreOffByDefault)
{
    class Plain : public zqtest::Journal
    {
    public:
        Plain() : Journal(true) {}
        void OnSection(unsigned short, const unsigned char*, unsigned long) override { note("section"); }
    } parser;
    EXPECT_FALSE(parser.sections_by_the_standard());
    EXPECT_TRUE(parser.add_section_PID(0x0300));
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x300, good_section(0x90, 10));
    EXPECT_THAT(parser.feed(stream), ElementsAre("PAT", "other"));
}

TEST(StandardSections, ReportEachSectionOnceInFrontOfItsTable)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}}));
    stream.raw(0, Stream::goes_on, 1, {}); // the same unit goes on
    stream.section(0x100, PMT(1, {0x101}));
    EXPECT_THAT(parser.feed(stream), ElementsAre("section 0 0", "PAT", "section 256 2", "PMT 1 1"));
    EXPECT_EQ(parser.sections[0], PAT({{1, 0x100}}));
    EXPECT_EQ(parser.sections[1], PMT(1, {0x101}));
}

TEST(StandardSections, FindTablesBehindOtherSectionsOfAPacket)
{
    StandardJournal parser;
    Stream stream;
    Bytes unit{3, 1, 2, 3};
    for (const auto& section : {good_section(0x4E, 6), good_section(0x72, 5), good_section(0x60, 6)})
        unit.insert(unit.end(), section.begin(), section.end());
    unit.resize(184, 0xFF);
    stream.packet(0x12, Stream::begins, unit);
    EXPECT_THAT(parser.feed(stream),
                ElementsAre("section 18 78", "EIT 78", "section 18 114", "section 18 96", "EIT 96"));
}

TEST(StandardSections, TellSectionsWhoseCRCFailedApart)
{
    StandardJournal parser;
    Stream stream;
    auto wrong = PAT({{1, 0x100}});
    wrong[9] ^= 1;
    stream.section(0, wrong);
    EXPECT_THAT(parser.feed(stream), ElementsAre("CRC failed 0"));
    EXPECT_THAT(parser.sections, ElementsAre(wrong));
    EXPECT_EQ(parser.m_PAT.valid, 0);
}

TEST(StandardSections, TellAWrongCRCAlsoWhereTheSectionIsKnown)
{
    struct Known
    {
        unsigned PID;
        Bytes section;
        const char* name;
    };
    const Bytes no_loops{0xF0, 0x00, 0xF0, 0x00};
    for (const Known& known : {Known{0x00, PAT({{1, 0x100}}), "PAT"}, Known{0x01, CAT(0x500, 0, 0, 0), "CAT"},
                               Known{0x10, versioned_section(0x40, 1, no_loops, 0, 0, 0, true), "NIT"},
                               Known{0x12, good_section(0x4E, 6), "EIT 78"}, Known{0x100, PMT(1, {0x101}), "PMT 1 1"}})
    {
        StandardJournal parser;
        Stream stream;
        stream.section(0, PAT({{1, 0x100}}));
        parser.feed(stream);
        for (unsigned count = 0; count < 8; ++count)
            stream.section(known.PID, known.section);
        EXPECT_THAT(parser.tables(stream), testing::Each(known.name));
        for (std::size_t at = 3; at < known.section.size(); ++at) {
            Bytes wrong = known.section;
            wrong[at] ^= 0x10;
            stream.section(known.PID, wrong).section(known.PID, known.section);
            const auto failed = "CRC failed " + std::to_string(known.PID);
            ASSERT_THAT(parser.tables(stream), ElementsAre(failed, known.name)) << at;
        }
    }
}

TEST(StandardSections, LetOnSectionTakeAwayThePMTThatIsToBeRead)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101})).section(0x100, PMT(1, {0x101}));
    parser.feed(stream);
    parser.at_section = [&](unsigned short) { parser.m_PMTs.clear(); };
    for (unsigned count = 0; count < 3; ++count) {
        stream.section(0x100, PMT(1, {0x101}));
        EXPECT_THAT(parser.tables(stream), ElementsAre("PMT 1 1"));
        EXPECT_EQ(routes(parser, stream, {0x101}).size(), 1U);
        EXPECT_EQ(parser.m_PMTs.at(0x100)->current->streams.size(), 1U);
    }
}

TEST(StandardSections, LetOnSectionAskForTablesThatMayBeEdited)
{
    StandardJournal parser;
    Stream stream;
    parser.at_section = [&](unsigned short) { parser.m_editableTables = !parser.m_editableTables; };
    for (unsigned count = 0; count < 20; ++count) {
        stream.section(0x12, good_section(0x4E, 6)).section(0x12, good_section(0x4E, 6));
        stream.section(0x12, good_section(0x4E, 6, 2));
        EXPECT_THAT(parser.tables(stream), ElementsAre("EIT 78", "EIT 78", "EIT 78"));
        EXPECT_EQ(parser.m_EITpfActual.current->service_id, 2);
    }
}

TEST(StandardSections, ReportWhatIsNotCurrentOnlyAsASection)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    parser.feed(stream);
    stream.section(0, PAT({{2, 0x200}}, 1, 0, 0, false)).section(0x100, PMT(1, {0x102}, 1, 0, 0, false));
    stream.section(0x200, PMT(2, {0x201}));
    EXPECT_THAT(parser.feed(stream), ElementsAre("section 0 0", "section 256 2", "other"));
    EXPECT_EQ(parser.m_PAT.current->programs.count(0x100), 1U);
    EXPECT_THAT(routes(parser, stream, {0x101, 0x102}), ElementsAre("257: PES 256 program 1"));
}

TEST(StandardSections, LeaveOtherTablesOfATablePIDToOnSection)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, good_section(0x42, 20)).section(1, good_section(0x00, 20)).section(2, good_section(0x02, 20));
    stream.section(0x10, good_section(0x42, 20)).section(0x11, good_section(0x40, 20));
    stream.section(0x13, {0x71, 0x70, 0x00})
        .section(0x1E, {0x7E, 0x70, 0x01, 0xFF})
        .section(0x1F, good_section(0x7F, 4));
    EXPECT_THAT(parser.feed(stream),
                ElementsAre("section 0 66", "section 1 0", "section 2 2", "section 16 66", "section 17 64",
                            "section 19 113", "section 30 126", "section 31 127"));
}

TEST(StandardSections, ReportOtherTablesOnThePIDOfAPMTAsSections)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}}));
    stream.section(0x100, good_section(0xC0, 20)).section(0x100, PMT(2, {0x101})).section(0x100, PMT(1, {0x101}));
    EXPECT_THAT(parser.feed(stream),
                ElementsAre("section 0 0", "PAT", "section 256 192", "section 256 2", "section 256 2", "PMT 1 1"));
}

TEST(StandardSections, ReportThoseOfPIDsThatTheCallerAddsBesideTheirOtherCallbacks)
{
    StandardJournal parser;
    Stream stream;
    ASSERT_TRUE(parser.add_section_PID(0x101));
    stream.section(0x101, good_section(0x90, 20)); // in front of any PAT
    EXPECT_THAT(parser.feed(stream), ElementsAre("section 257 144"));
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    parser.feed(stream);
    stream.section(0x101, good_section(0xFC, 300)).section(0x101, good_section(0x90, 20));
    EXPECT_THAT(parser.feed(stream),
                ElementsAre("PES 256 unit 184", "PES 256", "PES 256 program 1", "other", "section 257 252", "PES 256",
                            "PES 256 program 1", "other", "section 257 144", "PES 256 unit 368", "PES 256",
                            "PES 256 program 1", "other"));
}

TEST(StandardSections, TakeAPIDThatIsAddedWhileItsPacketsArePlain)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    for (unsigned count = 0; count < 3; ++count)
        stream.packet(0x101, Stream::goes_on, Bytes(184));
    parser.feed(stream);
    ASSERT_TRUE(parser.add_section_PID(0x101));
    const auto section = good_section(0x90, 500);
    stream.section(0x101, section);
    parser.feed(stream);
    EXPECT_EQ(parser.sections.back(), section);
    parser.remove_section_PID(0x101);
    parser.sections.clear();
    stream.section(0x101, section);
    parser.feed(stream);
    EXPECT_THAT(parser.sections, IsEmpty());
}

TEST(StandardSections, LetCallbacksAddAndRemovePIDs)
{
    StandardJournal parser;
    ASSERT_TRUE(parser.add_section_PID(0x300));
    parser.at_section = [&](unsigned short PID) {
        parser.remove_section_PID(PID);
        ASSERT_TRUE(parser.add_section_PID(static_cast<unsigned short>(PID + 1)));
    };
    Stream stream;
    const auto section = good_section(0x90, 20);
    Bytes unit{0};
    for (unsigned count = 0; count < 3; ++count)
        unit.insert(unit.end(), section.begin(), section.end());
    unit.resize(184, 0xFF);
    for (const unsigned PID : {0x300U, 0x300U, 0x301U, 0x302U, 0x304U})
        stream.packet(PID, Stream::begins, unit);
    EXPECT_THAT(parser.feed(stream), ElementsAre("section 768 144", "section 769 144", "section 770 144"));
}

TEST(StandardSections, MayBeRemovedAndAddedAgainInOneCallback)
{
    StandardJournal parser;
    ASSERT_TRUE(parser.add_section_PID(0x300));
    parser.at_section = [&](unsigned short PID) {
        parser.remove_section_PID(PID);
        ASSERT_TRUE(parser.add_section_PID(PID));
    };
    Stream stream;
    stream.section(0x300, good_section(0x90, 20)).section(0x300, good_section(0x90, 300));
    EXPECT_THAT(parser.feed(stream), ElementsAre("section 768 144", "section 768 144"));
}

TEST(StandardSections, RefusePIDsThatCarryNone)
{
    StandardJournal parser;
    EXPECT_FALSE(parser.add_section_PID(0x1FFF));
    EXPECT_FALSE(parser.add_section_PID(0x2000));
    EXPECT_TRUE(parser.add_section_PID(0x1FFE));
    parser.remove_section_PID(0xFFFF);
    parser.remove_section_PID(0x0000); // stays
    Stream stream;
    stream.section(0, PAT({}));
    EXPECT_THAT(parser.feed(stream), ElementsAre("section 0 0", "PAT"));
}

TEST(StandardSections, ReportNullPacketsAlsoWhenAPATNamesTheirPID)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x1FFF}})).null();
    EXPECT_THAT(parser.feed(stream), ElementsAre("section 0 0", "PAT", "NULL"));
}

TEST(StandardSections, KeepTheCallersPIDsThroughClear)
{
    StandardJournal parser;
    ASSERT_TRUE(parser.add_section_PID(0x300));
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    parser.feed(stream);
    parser.Clear();
    EXPECT_TRUE(parser.sections_by_the_standard());
    stream.section(0x300, good_section(0x90, 20)).section(0x100, PMT(1, {0x101}));
    EXPECT_THAT(parser.feed(stream), ElementsAre("section 768 144"));
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    parser.feed(stream);
    EXPECT_EQ(routes(parser, stream, {0x101}).size(), 1U);
}

TEST(StandardSections, ForgetTablesWhenTheSwitchIsTurned)
{
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    parser.feed(stream);
    parser.set_sections_by_the_standard(true); // no change
    EXPECT_EQ(routes(parser, stream, {0x101}).size(), 1U);
    for (const bool on : {false, true}) {
        parser.set_sections_by_the_standard(on);
        EXPECT_EQ(parser.m_PAT.valid, 0);
        EXPECT_THAT(routes(parser, stream, {0x101}), IsEmpty());
        stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
        EXPECT_EQ(parser.feed(stream).size(), on ? 4U : 2U);
        EXPECT_EQ(routes(parser, stream, {0x101}).size(), 1U);
    }
}

TEST(StandardSections, GiveTablesThatCallbacksMayEdit)
{
    StandardJournal parser;
    parser.m_editableTables = true;
    Stream stream;
    for (unsigned round = 0; round < 3; ++round)
        stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, {0x101}));
    EXPECT_THAT(parser.tables(stream), ElementsAre("PAT", "PMT 1 1", "PAT", "PMT 1 1", "PAT", "PMT 1 1"));
    parser.m_PMTs[0x100]->current->streams.clear();
    EXPECT_EQ(routes(parser, stream, {0x101}).size(), 1U);
}

TEST(StandardSections, ReadRandomStreamsWithAllKindsOfFaults)
{
    StandardJournal parser;
    std::mt19937 generator(5);
    const auto random = [&] { return static_cast<unsigned>(generator()); };
    std::size_t sections = 0;
    for (unsigned round = 0; round < 200; ++round) {
        Stream stream;
        for (unsigned count = 0; count < 50; ++count) {
            const unsigned number = 1 + random() % 4;
            switch (random() % 5) {
            case 0:
                stream.section(0, PAT({{number, 0x100 + random() % 3}, {number + 1, 0x101}}, random() % 3, random() % 2,
                                      random() % 2));
                break;
            case 1:
            case 2:
                stream.section(0x100 + random() % 3,
                               PMT(number, {0x200 + random() % 4, 0x204}, random() % 3, random() % 2, random() % 2));
                break;
            default:
                stream.packet(0x200 + random() % 6, random() % 4 == 0 ? Stream::begins : Stream::goes_on, Bytes(184));
            }
        }
        for (unsigned faults = random() % 10; faults != 0; --faults)
            stream.data[random() % stream.data.size()] = static_cast<unsigned char>(random());
        if (random() % 4 == 0)
            parser.m_PMTs.erase(0x100);
        sections += parser.feed(stream).size();
        if (random() % 20 == 0)
            parser.Clear();
    }
    EXPECT_GT(sections, 5000U);
}
} // namespace StandardSections_test
