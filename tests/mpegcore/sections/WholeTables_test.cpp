// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/WholeTables.h"

#include "support/SectionPackets.h"
#include "support/rounds.h"

#include <gmock/gmock.h>

#include <random>
#include <set>

namespace WholeTables_test
{
using mpegcore::TableIdentity;
using mpegcore::TableNews;
using mpegcore::WholeTable;
using mpegcore::WholeTables;
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::good_section;

struct Seen
{
    TableNews news;
    TableIdentity identity;
    unsigned version;
    std::vector<Bytes> sections;

    bool operator==(const Seen& other) const
    {
        return news == other.news && identity == other.identity && version == other.version &&
               sections == other.sections;
    }
};

TableIdentity identity(unsigned PID, unsigned table_id, unsigned extension = 0, unsigned ts = 0, unsigned network = 0)
{
    TableIdentity one;
    one.PID = static_cast<std::uint16_t>(PID);
    one.table_id = static_cast<std::uint8_t>(table_id);
    one.table_id_extension = static_cast<std::uint16_t>(extension);
    one.transport_stream_id = static_cast<std::uint16_t>(ts);
    one.original_network_id = static_cast<std::uint16_t>(network);
    return one;
}

class Collector
{
public:
    explicit Collector(std::size_t limit = WholeTables::default_memory_limit)
        : tables(
              [this](TableNews news, const WholeTable& table) {
                  Seen one{news, table.identity, table.version_number, {}};
                  for (const auto& section : table.sections)
                      one.sections.push_back(section.second);
                  seen.push_back(one);
              },
              limit)
    {}

    Collector& put(const Bytes& section, unsigned PID = 0x10, std::uint64_t time = 0)
    {
        tables.put(static_cast<std::uint16_t>(PID), section.data(), section.size(), time);
        return *this;
    }

    /// What came since the last call.
    std::vector<Seen> news()
    {
        std::vector<Seen> all;
        all.swap(seen);
        return all;
    }

    std::vector<Seen> seen;
    WholeTables tables;
};

/// Section `number` of `last` + 1 of an SDT with `body_size` bytes of body.
Bytes SDT(unsigned version, unsigned number, unsigned last, std::size_t body_size = 20)
{
    return good_section(0x42, body_size, 7, version, number, last);
}

Bytes EIT(unsigned number, unsigned last, unsigned segment_last, unsigned version = 0, unsigned service = 5,
          unsigned ts = 6, unsigned network = 7)
{
    auto section = zqtest::long_section(0x50, 6, service, version, number, last);
    section[8] = static_cast<unsigned char>(ts >> 8);
    section[9] = static_cast<unsigned char>(ts);
    section[10] = static_cast<unsigned char>(network >> 8);
    section[11] = static_cast<unsigned char>(network);
    section[12] = static_cast<unsigned char>(segment_last);
    section[13] = 0x50;
    return zqtest::with_CRC(section);
}

const auto SDT_identity = identity(0x10, 0x42, 7);

TEST(WholeTables, SayWhetherASectionWouldBringNoNewsASecondTime)
{
    WholeTables tables([](TableNews, const WholeTable&) {});
    const auto put = [&](unsigned version, unsigned number, bool current = true) {
        const Bytes section = good_section(0x42, 8, 1, version, number, 1, current);
        return tables.put(0x11, section.data(), section.size());
    };
    EXPECT_FALSE(put(0, 0));
    EXPECT_FALSE(put(0, 0));
    EXPECT_TRUE(put(0, 1));
    EXPECT_TRUE(put(0, 0));
    EXPECT_FALSE(put(1, 0, false));
    EXPECT_FALSE(put(1, 0));
    EXPECT_TRUE(put(0, 0)); // the version that was to follow does not
    EXPECT_FALSE(put(1, 1));
    EXPECT_TRUE(put(1, 0));
    const Bytes too_large = good_section(0x42, 100, 2);
    WholeTables small([](TableNews, const WholeTable&) {}, 50);
    EXPECT_FALSE(small.put(0x11, too_large.data(), too_large.size()));
}

TEST(WholeTables, TellOfATableOfOneSectionOnce)
{
    Collector collector;
    const auto section = SDT(3, 0, 0);
    collector.put(section).put(section).put(section);
    EXPECT_THAT(collector.news(), ElementsAre(Seen{TableNews::complete, SDT_identity, 3, {section}}));
    ASSERT_NE(collector.tables.find(SDT_identity), nullptr);
    EXPECT_EQ(collector.tables.find(SDT_identity)->version_number, 3);
}

TEST(WholeTables, WaitForEverySectionInAnyOrder)
{
    Collector collector;
    collector.put(SDT(3, 2, 2)).put(SDT(3, 0, 2)).put(SDT(3, 2, 2)).put(SDT(3, 0, 2));
    EXPECT_THAT(collector.news(), IsEmpty());
    EXPECT_EQ(collector.tables.find(SDT_identity), nullptr);
    collector.put(SDT(3, 1, 2));
    EXPECT_THAT(collector.news(),
                ElementsAre(Seen{TableNews::complete, SDT_identity, 3, {SDT(3, 0, 2), SDT(3, 1, 2), SDT(3, 2, 2)}}));
}

TEST(WholeTables, KeepTheOldVersionUntilTheNewOneIsWhole)
{
    Collector collector;
    collector.put(SDT(3, 0, 1)).put(SDT(3, 1, 1));
    collector.news();
    collector.put(SDT(4, 0, 2)).put(SDT(4, 1, 2));
    EXPECT_THAT(collector.news(), IsEmpty());
    EXPECT_EQ(collector.tables.find(SDT_identity)->version_number, 3);
    collector.put(SDT(4, 2, 2));
    EXPECT_THAT(collector.news(),
                ElementsAre(Seen{TableNews::changed, SDT_identity, 4, {SDT(4, 0, 2), SDT(4, 1, 2), SDT(4, 2, 2)}}));
}

TEST(WholeTables, TellOfOtherBytesWithTheSameVersion)
{
    Collector collector;
    collector.put(SDT(3, 0, 1)).put(SDT(3, 1, 1));
    collector.news();
    collector.put(SDT(3, 1, 1, 30));
    EXPECT_THAT(collector.news(), IsEmpty());
    collector.put(SDT(3, 0, 1));
    EXPECT_THAT(collector.news(),
                ElementsAre(Seen{TableNews::changed, SDT_identity, 3, {SDT(3, 0, 1), SDT(3, 1, 1, 30)}}));
}

TEST(WholeTables, SayNothingWhenTheOldBytesComeBackBeforeTheNewTableIsWhole)
{
    Collector collector;
    collector.put(SDT(3, 0, 1)).put(SDT(3, 1, 1));
    collector.news();
    collector.put(SDT(3, 1, 1, 30)).put(SDT(3, 1, 1)).put(SDT(3, 0, 1)).put(SDT(3, 1, 1));
    EXPECT_THAT(collector.news(), IsEmpty());
}

TEST(WholeTables, BeginAnewWhenTheOldVersionComesBetween)
{
    Collector collector;
    collector.put(SDT(3, 0, 1)).put(SDT(3, 1, 1));
    collector.news();
    collector.put(SDT(4, 0, 1)).put(SDT(3, 0, 1)).put(SDT(4, 1, 1));
    EXPECT_THAT(collector.news(), IsEmpty());
    collector.put(SDT(4, 0, 1));
    EXPECT_EQ(collector.news().size(), 1U);
}

TEST(WholeTables, MixNoSectionsOfDifferentLengthsOfTheTable)
{
    Collector collector;
    collector.put(SDT(3, 0, 1)).put(SDT(3, 1, 2)).put(SDT(3, 2, 2));
    EXPECT_THAT(collector.news(), IsEmpty());
    collector.put(SDT(3, 0, 2));
    EXPECT_EQ(collector.news().size(), 1U);
}

TEST(WholeTables, LeaveOutWhatIsNotCurrentYet)
{
    Collector collector;
    collector.put(good_section(0x42, 20, 7, 4, 0, 0, false));
    EXPECT_THAT(collector.news(), IsEmpty());
    EXPECT_EQ(collector.tables.memory(), 0U);
}

TEST(WholeTables, LeaveOutASectionBehindTheLast)
{
    Collector collector;
    collector.put(SDT(3, 2, 1));
    EXPECT_THAT(collector.news(), IsEmpty());
    EXPECT_EQ(collector.tables.memory(), 0U);
}

TEST(WholeTables, TellTablesApartByEveryPartOfTheirIdentity)
{
    Collector collector;
    collector.put(SDT(1, 0, 0)).put(SDT(1, 0, 0), 0x11);
    collector.put(good_section(0x46, 20, 7, 1)).put(good_section(0x42, 20, 8, 1));
    for (const auto& [service, ts, network] :
         {std::array{1U, 2U, 3U}, std::array{9U, 2U, 3U}, std::array{1U, 9U, 3U}, std::array{1U, 2U, 9U}})
        collector.put(EIT(0, 0, 0, 0, service, ts, network), 0x12);
    std::vector<TableIdentity> identities;
    for (const auto& one : collector.news()) {
        EXPECT_EQ(one.news, TableNews::complete);
        identities.push_back(one.identity);
    }
    EXPECT_THAT(identities,
                ElementsAre(identity(0x10, 0x42, 7), identity(0x11, 0x42, 7), identity(0x10, 0x46, 7),
                            identity(0x10, 0x42, 8), identity(0x12, 0x50, 1, 2, 3), identity(0x12, 0x50, 9, 2, 3),
                            identity(0x12, 0x50, 1, 9, 3), identity(0x12, 0x50, 1, 2, 9)));
}

TEST(WholeTables, TakeAScheduleForWholeWhenEverySegmentIs)
{
    Collector collector;
    for (const auto& [number, segment_last] : {std::pair{0U, 1U}, {1U, 1U}, {8U, 8U}, {16U, 17U}})
        collector.put(EIT(number, 17, segment_last), 0x12);
    EXPECT_THAT(collector.news(), IsEmpty());
    collector.put(EIT(17, 17, 17), 0x12);
    ASSERT_THAT(collector.seen, testing::SizeIs(1));
    EXPECT_EQ(collector.seen[0].sections.size(), 5U);
    EXPECT_EQ(collector.seen[0].identity, identity(0x12, 0x50, 5, 6, 7));
}

TEST(WholeTables, WaitForASegmentOfWhichNothingCame)
{
    Collector collector;
    collector.put(EIT(0, 16, 0), 0x12).put(EIT(16, 16, 16), 0x12);
    EXPECT_THAT(collector.news(), IsEmpty());
    collector.put(EIT(8, 16, 8), 0x12);
    EXPECT_EQ(collector.news().size(), 1U);
}

TEST(WholeTables, WaitForTheWholeSegmentWhenItsEndIsNotInIt)
{
    Collector collector;
    collector.put(EIT(8, 9, 0), 0x12);
    for (unsigned number = 0; number < 8; ++number)
        collector.put(EIT(number, 9, 200), 0x12);
    EXPECT_THAT(collector.news(), IsEmpty());
    collector.put(EIT(9, 9, 0), 0x12);
    EXPECT_EQ(collector.news().size(), 1U);
}

TEST(WholeTables, TakeASectionWithoutTheLongHeaderForATable)
{
    Collector collector;
    const Bytes first{0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45, 0x00},
        second{0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45, 0x01};
    collector.put(first, 0x14).put(first, 0x14).put(second, 0x14);
    EXPECT_THAT(collector.news(), ElementsAre(Seen{TableNews::complete, identity(0x14, 0x70), 0, {first}},
                                              Seen{TableNews::changed, identity(0x14, 0x70), 0, {second}}));
}

TEST(WholeTables, LeaveOutALongHeaderThatIsNotThere)
{
    Collector collector;
    collector.put(zqtest::with_CRC({0x42, 0xB0, 0x04}));
    EXPECT_THAT(collector.news(), IsEmpty());
    EXPECT_EQ(collector.tables.memory(), 0U);
}

TEST(WholeTables, TellWhatIsGoneWithItsPID)
{
    Collector collector;
    collector.put(SDT(1, 0, 0)).put(good_section(0x46, 20, 8)).put(SDT(1, 0, 0), 0x11).put(SDT(1, 0, 1), 0x12);
    collector.news();
    collector.tables.remove(0x10);
    EXPECT_THAT(collector.news(),
                ElementsAre(Seen{TableNews::gone, SDT_identity, 1, {SDT(1, 0, 0)}},
                            Seen{TableNews::gone, identity(0x10, 0x46, 8), 0, {good_section(0x46, 20, 8)}}));
    collector.tables.remove(0x12); // which never was whole
    collector.tables.remove(0x13);
    EXPECT_THAT(collector.news(), IsEmpty());
    collector.tables.remove(identity(0x11, 0x42, 7));
    EXPECT_EQ(collector.news().size(), 1U);
    EXPECT_EQ(collector.tables.memory(), 0U);
}

TEST(WholeTables, TellWhatDidNotComeForTooLong)
{
    Collector collector;
    collector.put(SDT(1, 0, 0), 0x10, 100).put(SDT(1, 0, 0), 0x11, 200).put(SDT(1, 0, 0), 0x10, 300);
    collector.news();
    collector.tables.expire(200);
    EXPECT_THAT(collector.news(), IsEmpty());
    collector.tables.expire(201);
    EXPECT_THAT(collector.news(), ElementsAre(Seen{TableNews::gone, identity(0x11, 0x42, 7), 1, {SDT(1, 0, 0)}}));
    collector.tables.expire(301);
    EXPECT_THAT(collector.news(), ElementsAre(Seen{TableNews::gone, SDT_identity, 1, {SDT(1, 0, 0)}}));
    collector.put(SDT(1, 0, 0), 0x10, 400);
    EXPECT_EQ(collector.news()[0].news, TableNews::complete);
}

TEST(WholeTables, ForgetTheTableThatCameLeastRecently)
{
    Collector collector(3500);
    collector.put(SDT(1, 0, 0), 0x10).put(SDT(1, 0, 0), 0x11).put(SDT(1, 0, 0), 0x10);
    for (unsigned PID = 0x12; PID < 0x16; ++PID)
        collector.put(SDT(1, 0, 0), PID);
    std::vector<unsigned> forgotten;
    for (const auto& one : collector.seen)
        if (one.news == TableNews::forgotten)
            forgotten.push_back(one.identity.PID);
    EXPECT_THAT(forgotten, ElementsAre(0x11U, 0x10U));
}

TEST(WholeTables, TakeNoMoreMemoryThanTheyMay)
{
    constexpr std::size_t limit = 200000;
    Collector collector(limit);
    std::mt19937 random(1);
    for (unsigned count = 0; count < zqtest::rounds(20000); ++count) {
        const unsigned last = random() % 256;
        const auto section = good_section(0x40 + random() % 4, random() % 1000, random() % 40, random() % 2,
                                          random() % (last + 1), last);
        collector.put(section, random() % 4);
        ASSERT_LE(collector.tables.memory(), limit);
        collector.news();
    }
}

TEST(WholeTables, GiveUpATableThatIsLargerThanTheMemory)
{
    Collector collector(20000);
    for (unsigned number = 0; number < 200; ++number)
        collector.put(SDT(1, number, 199, 1000));
    EXPECT_THAT(collector.news(), IsEmpty());
    collector.put(SDT(1, 0, 0), 0x11);
    EXPECT_EQ(collector.news().size(), 1U);
}

TEST(WholeTables, GiveBackAllMemoryWithTheirTables)
{
    Collector collector;
    std::mt19937 random(2);
    for (unsigned count = 0; count < 5000; ++count) {
        const unsigned last = random() % 4;
        collector.put(good_section(0x4E + random() % 4, 10 + random() % 20, random() % 4, random() % 3,
                                   random() % (last + 1), last),
                      random() % 3);
    }
    collector.tables.expire(1);
    EXPECT_EQ(collector.tables.memory(), 0U);
}

TEST(WholeTables, GiveOutOnlySectionsThatBelongTogether)
{
    Collector collector;
    std::mt19937 random(3);
    std::size_t news = 0;
    for (unsigned count = 0; count < 50000; ++count) {
        const unsigned version = count / 500 % 3, last = version, number = random() % (last + 1);
        const bool other = random() % 50 == 0;
        collector.put(SDT(version, number, last, other ? 21 : 20));
        for (const auto& one : collector.news()) {
            ++news;
            ASSERT_EQ(one.sections.size(), one.version + 1U);
            for (std::size_t at = 0; at < one.sections.size(); ++at) {
                ASSERT_EQ(one.sections[at][6], at);
                ASSERT_EQ(one.sections[at][7], one.version);
                ASSERT_EQ(one.sections[at][5] >> 1 & 0x1F, static_cast<int>(one.version));
            }
        }
    }
    EXPECT_GT(news, 100U);
}
} // namespace WholeTables_test
