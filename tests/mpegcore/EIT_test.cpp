// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Tables.h"

#include <gmock/gmock.h>

namespace EIT_test
{
using mpegcore::CEIT;
using mpegcore::CEventInfo;
using zqtest::Bytes;
using zqtest::length_field;
using zqtest::Roomy;
using zqtest::operator+;
using zqtest::section_of;

// service_id 0x1234, reserved 3, version 10, current, section 1 of 2, transport_stream_id 0x2345, original_network_id
// 0x3456, segment_last_section_number 0x5A, last_table_id 0x4F.
const Bytes fields{0x12, 0x34, 0xD5, 0x01, 0x02, 0x23, 0x45, 0x34, 0x56, 0x5A, 0x4F};
const Bytes rating{0x55, 0x04, 'G', 'B', 'R', 0x05};

Bytes event(std::uint8_t id, const Bytes& descriptors)
{
    return Bytes{0x00, id, 0xC0, 0x79, 0x12, 0x45, 0x00, 0x01, 0x45, 0x00} + length_field(descriptors.size(), 9) +
           descriptors;
}

TEST(EIT, ReadsItsFieldsAndEvents)
{
    Roomy<CEIT> eit;
    ASSERT_TRUE(zqtest::read(eit, section_of(0x4E, fields + event(9, rating))));
    EXPECT_EQ(eit.service_id, 0x1234);
    EXPECT_EQ(eit.reserved, 3);
    EXPECT_EQ(eit.version_number, 10);
    EXPECT_EQ(eit.current_next_indicator, 1);
    EXPECT_EQ(eit.section_number, 1);
    EXPECT_EQ(eit.last_section_number, 2);
    EXPECT_EQ(eit.transport_stream_id, 0x2345);
    EXPECT_EQ(eit.original_network_id, 0x3456);
    EXPECT_EQ(eit.segment_last_section_number, 0x5A);
    EXPECT_EQ(eit.last_table_id, 0x4F);
    ASSERT_EQ(eit.events.size(), 1U);
    const auto& info = *eit.events[0];
    EXPECT_EQ(info.event_id, 9);
    EXPECT_EQ(info.start_time, 0xC079124500U);
    EXPECT_EQ(info.duration, 0x014500U);
    EXPECT_EQ(info.running_status, 4);
    EXPECT_EQ(info.free_CA_mode, 1);
    EXPECT_EQ(info.descriptors_loop_length, 6);
    EXPECT_TRUE(info.descriptors.find<mpegcore::parental_rating_descriptor>());
}

TEST(EIT, OfElevenOrFewerEventBytesHoldsNoEvents)
{
    for (std::size_t bytes = 0; bytes <= 11; ++bytes) {
        Roomy<CEIT> eit;
        const Bytes section = section_of(0x4E, fields + Bytes(bytes, 0));
        ASSERT_TRUE(zqtest::read(eit, section)) << bytes;
        EXPECT_TRUE(eit.events.empty());
        EXPECT_EQ(eit.CRC_32, mpegcore::crc32_mpeg2(section.data(), section.size() - 4));
    }
    Roomy<CEIT> eit;
    ASSERT_TRUE(zqtest::read(eit, section_of(0x4E, fields + Bytes(12, 0))));
    EXPECT_EQ(eit.events.size(), 1U);
}

TEST(EIT, KeepsTwoEventsWithOneIdInStreamOrder)
{
    Roomy<CEIT> eit;
    ASSERT_TRUE(zqtest::read(eit, section_of(0x4E, fields + event(9, rating) + event(9, {}))));
    ASSERT_EQ(eit.events.size(), 2U);
    EXPECT_EQ(eit.events[0]->descriptors.size(), 1U);
    EXPECT_TRUE(eit.events[1]->descriptors.empty());
}

TEST(EIT, TooShortForItsFieldsIsRefusedAndHasThemAllZero)
{
    Roomy<CEIT> eit;
    fill(eit);
    eit.Clear();
    ASSERT_FALSE(zqtest::read(eit, section_of(0x4E, Bytes(fields.begin(), fields.end() - 1))));
    EXPECT_EQ(eit.service_id, 0);
    EXPECT_EQ(eit.version_number, 0);
    EXPECT_EQ(eit.transport_stream_id, 0);
    EXPECT_EQ(eit.last_table_id, 0);
}

TEST(EIT, IsRefusedWhenAnEventRunsPastTheSection)
{
    Roomy<CEIT> eit;
    Bytes late = event(8, rating);
    late[11] = 7;
    EXPECT_FALSE(zqtest::read(eit, section_of(0x4E, fields + event(9, rating) + late)));
    EXPECT_EQ(eit.events.size(), 1U) << "the event before stays";
}

TEST(EIT, RendersTheLoopLengthThatItsEventsHave)
{
    Roomy<CEIT> eit;
    fill(eit);
    eit.events[0]->descriptors_loop_length = 1;
    const Bytes bytes = zqtest::rendered(eit);
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ((bytes[24] & 0x0F) << 8 | bytes[25], 1);
}

TEST(EIT, WritesAllButItsCrc)
{
    Roomy<CEIT> eit;
    fill(eit);
    const Bytes rendered = zqtest::rendered(eit);
    zqtest::ExactBlock block(rendered.size());
    zqtest::Writer writer(block.data(), block.size());
    EXPECT_TRUE(eit.write(writer));
    EXPECT_EQ(block.bytes(writer.bytesWritten()), Bytes(rendered.begin(), rendered.end() - 4));
}

TEST(EIT, WritesWithoutComplaintWhatFits)
{
    Roomy<CEIT> eit;
    fill(eit);
    zqtest::ExactBlock block(10);
    zqtest::Writer writer(block.data(), block.size());
    EXPECT_TRUE(eit.write(writer));
    EXPECT_EQ(block.bytes(1)[0], 0x4E);
}

TEST(EventInfo, ReadsAndWritesItselfWithItsStoredLength)
{
    zqtest::ExactBlock block(event(9, rating));
    auto reader = block.reader();
    CEventInfo info;
    ASSERT_TRUE(info.read(reader));
    EXPECT_EQ(reader.availableBytes(), 0U);
    EXPECT_EQ(zqtest::written(info), event(9, rating));
    info.descriptors_loop_length = 0xABC;
    EXPECT_EQ(zqtest::written(info)[10], 0x9A);
}

TEST(EventInfo, IsRefusedTruncatedAtAnyByte)
{
    const Bytes whole = event(9, rating);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        zqtest::ExactBlock block(Bytes(whole.begin(), whole.begin() + size));
        auto reader = block.reader();
        CEventInfo info;
        EXPECT_FALSE(info.read(reader)) << size;
    }
}

TEST(EventInfo, IsCopiedOverWhatTheTargetHad)
{
    Roomy<CEIT> eit;
    fill(eit);
    CEventInfo target;
    eit.events[0]->descriptors_loop_length = 1;
    eit.events[0]->copyTo(&target);
    eit.events[0]->copyTo(&target);
    EXPECT_EQ(target.descriptors.size(), 2U);
    EXPECT_EQ(target.descriptors_loop_length, target.descriptors.getSize());
}

TEST(EventTimes, TurnNumbersIntoBcd)
{
    EXPECT_EQ(CEventInfo::time_to_duration(1, 45, 0), 0x014500U);
    EXPECT_EQ(CEventInfo::time_to_duration(12, 34, 56), 0x123456U);
    EXPECT_EQ(CEventInfo::sec_to_duration(5400), 0x013000U);
    EXPECT_EQ(CEventInfo::sec_to_duration(86399), 0x235959U);
}

TEST(EventTimes, DoNotClipHoursAboveNinetyNine)
{
    EXPECT_EQ(CEventInfo::time_to_duration(123, 0, 0), 0x1230000U);
    EXPECT_EQ(CEventInfo::time_to_duration(0, 0, 123), 0x123U);
}

TEST(EventTimes, OfAnyNumberOfSecondsAreBcdDigits)
{
    EXPECT_EQ(CEventInfo::sec_to_duration(0xFFFFFFFF),
              static_cast<std::uint32_t>((std::uint64_t{0x1193046} << 16) + (0x28 << 8) + 0x15));
}

TEST(EventTimes, LoseTheDigitsThatHaveNoRoomInTheirThirtyTwoBits)
{
    EXPECT_EQ(CEventInfo::time_to_duration(0, 0, 4294967295), 0x94967295U);
}

TEST(EventTimes, TurnTheEpochIntoItsModifiedJulianDate)
{
    EXPECT_EQ(CEventInfo::time_t_to_start_time(0), 0x9E8B000000U);
}

TEST(EventTimes, TurnTheExampleOfTheStandardIntoItsBytes)
{
    // ETSI EN 300 468, Annex C: 1993-10-13 12:45:00 is 0xC079124500.
    EXPECT_EQ(CEventInfo::time_t_to_start_time(750516300), 0xC079124500U);
}

TEST(EventTimes, CountTheDaysOfEveryDateFrom1970To2038)
{
    for (long day = 0; day < 24855; ++day)
        ASSERT_EQ(CEventInfo::time_t_to_start_time(86400 * day) >> 24, 40587U + static_cast<unsigned>(day));
}

TEST(EventTimes, Return1900YearsAndTwoMonthsLater)
{
    std::tm date{};
    date.tm_year = 1993; // counted from 1900, as the struct does: the year 3893
    date.tm_mon = 11;    // October is 9
    date.tm_mday = 13;
    date.tm_hour = 12;
    date.tm_min = 45;
    EXPECT_EQ(CEventInfo::start_time_to_time_t(0xC079124500), timegm(&date));
}

TEST(EventTimes, ReturnEveryDayFrom1970To2038WithTheSameShift)
{
    for (std::time_t day = 0; day < 24855; ++day) {
        const std::time_t time = 86400 * day;
        std::tm date{};
        gmtime_r(&time, &date);
        date.tm_year += 1900;
        date.tm_mon += 2;
        ASSERT_EQ(CEventInfo::start_time_to_time_t((std::uint64_t{40587} + static_cast<std::uint64_t>(day)) << 24),
                  timegm(&date));
    }
}

TEST(EventTimes, ReadBcdUpToTheFirstDigitThatIsNone)
{
    const auto seconds_of = [](unsigned bcd) {
        return CEventInfo::start_time_to_time_t(0xC079000000 + bcd) - CEventInfo::start_time_to_time_t(0xC079000000);
    };
    EXPECT_EQ(seconds_of(0x59), 59);
    EXPECT_EQ(seconds_of(0x09), 9);
    EXPECT_EQ(seconds_of(0x90), 90);
    EXPECT_EQ(seconds_of(0x5A), 5);
    EXPECT_EQ(seconds_of(0x0F), 0);
    EXPECT_EQ(seconds_of(0xA5), 0);
}

TEST(EventTimes, SurviveAnyValue)
{
    constexpr auto every_bit = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(CEventInfo::time_t_to_start_time(std::numeric_limits<std::int64_t>::max()), 0U)
        << "no calendar year holds it";
    EXPECT_EQ(CEventInfo::time_t_to_start_time(std::numeric_limits<std::int64_t>::min()), 0U);
    for (unsigned shift = 0; shift < 64; ++shift) {
        static_cast<void>(CEventInfo::start_time_to_time_t(std::uint64_t{1} << shift));
        static_cast<void>(CEventInfo::start_time_to_time_t(every_bit >> shift));
        static_cast<void>(CEventInfo::time_t_to_start_time(static_cast<std::int64_t>(every_bit >> shift)));
        static_cast<void>(CEventInfo::time_t_to_start_time(-static_cast<std::int64_t>(every_bit >> 1 >> shift)));
    }
}
} // namespace EIT_test
