// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/KnownTables.h"

#include "support/ByteTable.h"
#include "support/Multiplex.h"
#include "support/RecordingParser.h"
#include "support/T2MI.h"
#include "support/descriptor_loops.h"
#include "support/rounds.h"

#include <gmock/gmock.h>
#include <malloc.h>

#include <map>
#include <random>

namespace KnownTables_test
{
using mpegcore::SectionReading;
using zqtest::Bytes;
using zqtest::operator+;

constexpr std::size_t plenty = std::size_t{1} << 30;

class KnownTables : public testing::Test
{
protected:
    SectionReading read(Bytes section) { return tables.read(section.data(), section.size()); }

    void read_often(const Bytes& section)
    {
        for (int time = 0; time < 10; ++time)
            EXPECT_NE(read(section), SectionReading::failed);
    }

    /// What the current table renders to.
    Bytes current()
    {
        EXPECT_TRUE(wrapper.current->RenderTable());
        return {wrapper.current->buffer, wrapper.current->buffer + wrapper.current->used};
    }

    Bytes EIT(unsigned section, unsigned version = 0) { return mux.EIT(0, 0x50, section, 7, 4, version); }

    zqtest::Multiplex mux{1};
    mpegcore::CPacketWrapper<mpegcore::CEIT> wrapper;
    mpegcore::KnownTables<mpegcore::CEIT> tables{wrapper, plenty};
};

TEST_F(KnownTables, ReadASectionThatKeepsComingOnlySoManyTimes)
{
    const Bytes section = EIT(0);
    for (int time = 0; time < 5; ++time)
        EXPECT_EQ(read(section), SectionReading::fresh) << time;
    const auto* const kept = wrapper.current;
    for (int time = 0; time < 5; ++time)
        EXPECT_EQ(read(section), SectionReading::repeated) << time;
    EXPECT_EQ(wrapper.current, kept);
    EXPECT_EQ(wrapper.valid, 1);
    EXPECT_EQ(current(), section);
}

TEST_F(KnownTables, ShowTheSameTableWheneverItsSectionComesAgain)
{
    const Bytes first = EIT(0), second = EIT(1);
    for (int time = 0; time < 5; ++time) {
        read(first);
        read(second);
    }
    EXPECT_EQ(read(first), SectionReading::fresh);
    const auto* const table = wrapper.current;
    const auto* const event = table->events[0].get();
    EXPECT_EQ(current(), first);
    read(second);
    EXPECT_EQ(current(), second);
    read(first);
    EXPECT_EQ(wrapper.current, table);
    EXPECT_EQ(wrapper.current->events[0].get(), event);
}

TEST_F(KnownTables, ReadASectionThatChanged)
{
    read_often(EIT(0));
    for (const unsigned version : {1U, 2U, 0U}) {
        EXPECT_EQ(read(EIT(0, version)), SectionReading::fresh);
        EXPECT_EQ(current(), EIT(0, version));
    }
}

TEST_F(KnownTables, KeepTheCurrentTableWhenASectionIsBad)
{
    for (const bool known : {false, true}) {
        if (known)
            read_often(EIT(0));
        else
            read(EIT(0));
        const auto* const table = wrapper.current;
        Bytes bad = EIT(1);
        bad.back() ^= 1;
        EXPECT_EQ(read(bad), SectionReading::failed);
        EXPECT_EQ(wrapper.current, table);
        EXPECT_EQ(current(), EIT(0));
    }
}

TEST_F(KnownTables, NoticeThatTheWrapperReadPastThem)
{
    read_often(EIT(0));
    for (const unsigned section : {1U, 2U}) {
        Bytes other = EIT(section);
        mpegcore::CEIT::Reader reader(other.data(), other.size());
        ASSERT_EQ(wrapper.Parser(reader), 1);
        EXPECT_EQ(current(), other);
    }
    EXPECT_EQ(read(EIT(0)), SectionReading::fresh);
    EXPECT_EQ(current(), EIT(0));
}

TEST_F(KnownTables, AreReadAnewOnceForgotten)
{
    read_often(EIT(0));
    tables.forget();
    EXPECT_EQ(current(), EIT(0)) << "the wrapper keeps its table";
    EXPECT_EQ(read(EIT(0)), SectionReading::fresh);
    EXPECT_EQ(current(), EIT(0));
}

TEST_F(KnownTables, AreNotKeptBeforeTheSameCameFiveTimesInARow)
{
    for (int time = 0; time < 4; ++time)
        read(EIT(0));
    read(EIT(0, 1));
    for (int time = 0; time < 5; ++time)
        EXPECT_EQ(read(EIT(0)), SectionReading::fresh) << time;
    EXPECT_EQ(read(EIT(0)), SectionReading::repeated);
}

TEST_F(KnownTables, AreKeptFromTheSecondTimeOnWhenNoRepetitionIsAskedFor)
{
    tables.set_up(mpegcore::ZQDescriptorType::TS, 0);
    for (const unsigned version : {0U, 1U, 2U}) {
        for (unsigned count = 0; count < (version == 0 ? 2U : 1U); ++count)
            EXPECT_EQ(read(EIT(0, version)), SectionReading::fresh);
        EXPECT_EQ(read(EIT(0, version)), SectionReading::repeated);
        EXPECT_EQ(current(), EIT(0, version));
    }
}

TEST_F(KnownTables, SayOfASectionThatTheyKeepThatItIsTheSame)
{
    const Bytes section = EIT(0);
    EXPECT_FALSE(tables.find(section.data(), section.size()).is_same);
    read_often(section);
    EXPECT_TRUE(tables.find(section.data(), section.size()).is_same);
    read(EIT(1));
    EXPECT_TRUE(tables.find(section.data(), section.size()).is_same);
    for (std::size_t at = 0; at < section.size(); ++at) {
        Bytes other = section;
        other[at] ^= 1;
        EXPECT_FALSE(tables.find(other.data(), other.size()).is_same) << at;
    }
    EXPECT_FALSE(tables.find(section.data(), section.size() - 1).is_same);
}

TEST_F(KnownTables, ReadAnewWhatTheWrapperReadPastThemSinceItWasFound)
{
    const Bytes section = EIT(0);
    read_often(section);
    const auto place = tables.find(section.data(), section.size());
    Bytes other = EIT(1);
    ZQSDK::ZQBSReaderT<unsigned char*> reader(other.data(), other.size());
    ASSERT_EQ(wrapper.Parser(reader), 1);
    Bytes again = section;
    EXPECT_EQ(tables.read(again.data(), again.size(), place), SectionReading::fresh);
    EXPECT_EQ(current(), section);
}

TEST_F(KnownTables, OfOneServiceInTwoNetworksAreToldApart)
{
    const Bytes event(12);
    const auto section_in = [&](unsigned char network) {
        return zqtest::section_of(0x60, Bytes{0, 1, 0xC1, 0, 0, 0, 1, 0, network, 0, 0x60} + event);
    };
    for (int time = 0; time < 5; ++time) {
        read(section_in(1));
        read(section_in(2));
    }
    read(section_in(1));
    const auto* const first = wrapper.current;
    read(section_in(2));
    EXPECT_EQ(wrapper.current->original_network_id, 2);
    read(section_in(1));
    EXPECT_EQ(wrapper.current, first);
}

TEST_F(KnownTables, AreValidAgainWhenTheyComeAgain)
{
    for (const unsigned section : {0U, 1U, 0U, 1U})
        read_often(EIT(section));
    wrapper.valid = 0;
    EXPECT_EQ(read(EIT(1)), SectionReading::repeated);
    EXPECT_EQ(wrapper.valid, 1);
    wrapper.valid = 0;
    EXPECT_EQ(read(EIT(0)), SectionReading::fresh);
    EXPECT_EQ(wrapper.valid, 1);
}

// Rendering rewrites lengths and CRC_32, here because of the 3 bytes behind the last event.
TEST_F(KnownTables, ComeAgainAsTheyWereReadAfterRenderingAndAddingData)
{
    const Bytes first = zqtest::section_of(0x50, Bytes{0, 1, 0xC1, 0, 0, 0, 1, 0, 1, 0, 0x50, 1, 2, 3});
    const Bytes second = EIT(1);
    for (int time = 0; time < 12; ++time) {
        for (const Bytes& section : {first, first, second}) {
            read(section);
            auto& table = *wrapper.current;
            EXPECT_EQ(table.section_length + 3U, section.size());
            EXPECT_EQ(zqtest::big_endian(table.CRC_32, 4), Bytes(section.end() - 4, section.end()));
            EXPECT_EQ(table.used, 0U);
            EXPECT_EQ(table.buffer[0], 0);
            EXPECT_TRUE(table.RenderTable());
            EXPECT_TRUE(table.AddData(section.data(), 10));
        }
    }
}

TEST_F(KnownTables, AreReadIntoAClearBufferAlsoAfterRenderingOneThatWasKept)
{
    tables.set_up(mpegcore::ZQDescriptorType::TS, 0);
    for (unsigned version = 0; version < 8; ++version) {
        for (unsigned section = 0; section < 3; ++section) {
            EXPECT_EQ(read(EIT(section, version)), SectionReading::fresh);
            const auto& table = *wrapper.current;
            ASSERT_NE(table.buffer, nullptr);
            EXPECT_THAT(Bytes(table.buffer, table.buffer + table.capacity), testing::Each(0));
            if (section != 1) {
                EXPECT_EQ(current(), EIT(section, version));
            }
        }
    }
}

TEST(KnownTablesWithLittleRoom, MakeRoomWhenTheirContentsChange)
{
    zqtest::Multiplex mux(1);
    mpegcore::CPacketWrapper<mpegcore::CEIT> wrapper;
    mpegcore::KnownTables<mpegcore::CEIT> tables(wrapper, 20000);
    for (unsigned version = 0; version < 32; ++version) {
        Bytes section = mux.EIT(0, 0x50, 0, 0, 4, version);
        for (int time = 0; time < 5; ++time)
            EXPECT_EQ(tables.read(section.data(), section.size()), SectionReading::fresh);
        EXPECT_EQ(tables.read(section.data(), section.size()), SectionReading::repeated) << version;
    }
}

// Of 200 000 refused sections one makes room for others.
TEST(KnownTablesWithLittleRoom, ForgetThoseThatNoLongerCome)
{
    mpegcore::CPacketWrapper<mpegcore::CEIT> wrapper;
    mpegcore::KnownTables<mpegcore::CEIT> tables(wrapper, 20000);
    const auto read = [&](unsigned char service) {
        static std::map<unsigned char, Bytes> sections;
        Bytes& section = sections[service];
        if (section.empty())
            section = zqtest::section_of(0x50, Bytes{0, service, 0xC1, 0, 0, 0, 1, 0, 1, 0, 0x50});
        return tables.read(section.data(), section.size());
    };
    for (int time = 0; time < 10; ++time)
        for (unsigned char service = 0; service < 20; ++service)
            read(service);
    EXPECT_EQ((read(100), read(100)), SectionReading::fresh);
    int reads = 0;
    while (read(100) == SectionReading::fresh && reads < 200000)
        ++reads;
    EXPECT_GT(reads, 100000);
    EXPECT_LT(reads, 200000);
}

TEST(KnownTablesWithoutRoom, AreReadEachTime)
{
    zqtest::Multiplex mux(1);
    mpegcore::CPacketWrapper<mpegcore::CEIT> wrapper;
    mpegcore::KnownTables<mpegcore::CEIT> tables(wrapper, 0);
    Bytes section = mux.EIT(0, 0x50, 0, 0, 4);
    for (int time = 0; time < 10; ++time) {
        EXPECT_EQ(tables.read(section.data(), section.size()), SectionReading::fresh);
        EXPECT_EQ(wrapper.current->events.size(), 4U);
    }
}

// Network name descriptors without a name take 200 times their 2 bytes.
TEST(KnownTablesOfHostileSections, StayWithinTheirLimit)
{
    constexpr std::size_t limit = 4 << 20;
    mpegcore::CPacketWrapper<mpegcore::CEIT> wrapper;
    mpegcore::KnownTables<mpegcore::CEIT> tables(wrapper, limit);
    Bytes names;
    for (int count = 0; count < 1000; ++count)
        names.insert(names.end(), {0x40, 0});
    const Bytes event{0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0x87, 0xD0};
    const std::size_t before = mpegcore::block_bytes();
    std::size_t most = 0;
    for (unsigned char service = 0; service < 200; ++service) {
        Bytes section = zqtest::section_of(0x50, Bytes{0, service, 0xC1, 0, 0, 0, 1, 0, 1, 0, 0x50} + event + names);
        for (int time = 0; time < 8; ++time)
            ASSERT_NE(tables.read(section.data(), section.size()), SectionReading::failed);
        most = std::max(most, mpegcore::block_bytes() - before);
    }
    EXPECT_GT(most, limit / 2) << "some are kept";
    EXPECT_LT(most, limit + (1 << 20)) << "and the table on loan to the wrapper";
}

// Read by the standards they become so large only when they are looked at, which their limit has to foresee. The
// sanitizers' allocator counts nothing here and below.
TEST(KnownTablesOfHostileSections, StayWithinTheirLimitWhenTheyAreLookedAtLater)
{
    constexpr std::size_t limit = 4 << 20;
    Bytes names, identifiers, items;
    for (int count = 0; count < 1000; ++count)
        names.insert(names.end(), {0x40, 0});
    for (int count = 0; count < 15; ++count) {
        identifiers = identifiers + Bytes{0x76, 0xFF} + Bytes(255, 0xFF);
        items = items + Bytes{0x4E, 0xFF, 0, 'e', 'n', 'g', 249} + Bytes(250, 0);
    }
    for (const Bytes& loop : {names, identifiers, items}) {
        mpegcore::CPacketWrapper<mpegcore::CEIT> wrapper;
        mpegcore::KnownTables<mpegcore::CEIT> tables(wrapper, limit);
        tables.set_up(mpegcore::ZQDescriptorType::Standard, 1);
        Bytes event(12);
        event[1] = 1;
        event[10] = static_cast<unsigned char>(0x80 | loop.size() >> 8);
        event[11] = static_cast<unsigned char>(loop.size());
        const std::size_t before = mallinfo2().uordblks;
        for (unsigned char service = 0; service < zqtest::rounds(200); ++service) {
            Bytes section = zqtest::section_of(0x50, Bytes{0, service, 0xC1, 0, 0, 0, 1, 0, 1, 0, 0x50} + event + loop);
            for (int time = 0; time < 3; ++time) {
                ASSERT_NE(tables.read(section.data(), section.size()), SectionReading::failed);
                ASSERT_GE(wrapper.current->events.at(0)->descriptors.size(), 15U);
            }
        }
        EXPECT_LT(mallinfo2().uordblks - before, limit + (3 << 20)) << "with the table on loan and the pool of blocks";
    }
}

TEST(KnownTablesOfHostileSections, LeaveNothingBehindWhenTheyChange)
{
    constexpr std::size_t limit = 4 << 20;
    mpegcore::CPacketWrapper<mpegcore::CEIT> wrapper;
    mpegcore::KnownTables<mpegcore::CEIT> tables(wrapper, limit);
    const std::size_t before = mallinfo2().uordblks;
    const auto read = [&](unsigned service, std::size_t size) {
        const Bytes head{static_cast<unsigned char>(service >> 8), static_cast<unsigned char>(service), 0xC1, 0, 0};
        Bytes section = zqtest::section_of(0x50, head + Bytes{0, 1, 0, 1, 0, 0x50} + Bytes(size));
        tables.read(section.data(), section.size());
    };
    constexpr unsigned services = zqtest::rounds(10000);
    for (unsigned service = 0; service < services; ++service) {
        for (int time = 0; time < 5; ++time)
            read(service, 3600);
        read(service, 0);
    }
    EXPECT_LT(mallinfo2().uordblks - before, 2 * limit);
}

TEST(KnownTablesOfAParser, AreReportedLikeTablesReadAnew)
{
    std::mt19937 random(5);
    zqtest::Multiplex mux(4);
    std::vector<unsigned> versions(64);
    zqtest::Stream stream;
    for (int count = 0; count < 3000; ++count) {
        const unsigned which = random() % 24;
        if (random() % 20 == 0)
            ++versions[which];
        const unsigned version = versions[which];
        if (which == 0)
            stream.section(0x0000, mux.PAT());
        else if (which == 1)
            stream.section(0x0010, mux.NIT());
        else if (which < 4)
            stream.section(0x0011, mux.SDT()[0]);
        else
            stream.section(0x0012, mux.EIT(which % 4, which < 12 ? 0x4E : 0x50, which / 4, 7, which % 5, version));
    }
    zqtest::RecordingParser keeping(true), anew(true);
    anew.m_editableTables = true;
    keeping.Process(stream.data.data(), stream.data.size());
    anew.Process(stream.data.data(), stream.data.size());
    EXPECT_EQ(keeping.lines, anew.lines);
    EXPECT_EQ(keeping.count, anew.count);
    EXPECT_GT(keeping.lines.size(), 2900U);
}

TEST(KnownTablesOfAParser, AreNotUsedWhereCallbacksChangeTables)
{
    class Editor : public mpegcore::CBaseMpegParser
    {
    public:
        Editor() : CBaseMpegParser(true) { m_editableTables = true; }
        void OnPMT(mpegcore::CBaseMpegProgram*, mpegcore::CPMT* pmt) override
        {
            streams.push_back(pmt->streams.size());
            pmt->streams.clear();
        }
        void OnEIT(mpegcore::CEIT* eit) override
        {
            events.push_back(eit->events.size());
            eit->events.clear();
        }
        std::vector<std::size_t> streams, events;
    } editor;
    zqtest::Multiplex mux(1);
    zqtest::Stream stream;
    stream.section(0x0000, mux.PAT());
    for (int count = 0; count < 10; ++count)
        stream.section(zqtest::Multiplex::PMT_PID(0), mux.PMT(0)).section(0x0012, mux.EIT(0, 0x50, 0, 0, 4));
    editor.Process(stream.data.data(), stream.data.size());
    EXPECT_EQ(editor.streams, std::vector<std::size_t>(10, 3));
    EXPECT_EQ(editor.events, std::vector<std::size_t>(10, 4));
}

TEST(KnownTablesOfAParser, AreReadAnewOnceCallbacksMayHaveChangedThem)
{
    class Editor : public mpegcore::CBaseMpegParser
    {
    public:
        Editor() : CBaseMpegParser(true) {}
        void OnPMT(mpegcore::CBaseMpegProgram*, mpegcore::CPMT* pmt) override
        {
            streams.push_back(pmt->streams.size());
            if (m_editableTables)
                pmt->streams.clear();
        }
        std::vector<std::size_t> streams;
    } editor;
    zqtest::Multiplex mux(1);
    for (const bool editable : {false, true, false}) {
        editor.m_editableTables = editable;
        zqtest::Stream stream;
        stream.section(0x0000, mux.PAT());
        for (int count = 0; count < 3; ++count)
            stream.section(zqtest::Multiplex::PMT_PID(0), mux.PMT(0));
        editor.Process(stream.data.data(), stream.data.size());
    }
    EXPECT_EQ(editor.streams, std::vector<std::size_t>(9, 3));
}

TEST(KnownTablesOfAParser, HaveTheMarksOfTheirProgramsSetAgain)
{
    class Marker : public mpegcore::CBaseMpegParser
    {
    public:
        Marker() : CBaseMpegParser(true) {}
        void OnPAT(mpegcore::CPAT* pat) override
        {
            marks.push_back(pat->programs.begin()->second.IsValid());
            pat->programs.begin()->second.SetValid(0);
        }
        std::vector<int> marks;
    } marker;
    zqtest::Stream stream;
    for (int count = 0; count < 10; ++count)
        stream.section(0x0000, zqtest::Multiplex(1).PAT());
    marker.Process(stream.data.data(), stream.data.size());
    EXPECT_EQ(marker.marks, std::vector<int>(10, 1));
}
} // namespace KnownTables_test
