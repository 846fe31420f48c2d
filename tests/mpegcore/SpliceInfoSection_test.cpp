// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/SpliceInfoSection.h"
#include "support/Tables.h"

#include <random>

namespace SpliceInfoSection_test
{
using mpegcore::CSpliceInfoSection;
using zqtest::Bytes;
using zqtest::Roomy;
using zqtest::operator+;

/// A section in the clear: pts_adjustment 1, no tier, and a loop without descriptors.
Bytes section(std::uint8_t type, const Bytes& command, const Bytes& loop = {0x00, 0x00})
{
    const auto length = static_cast<unsigned char>(command.size());
    return zqtest::section_of(
        0xFC, Bytes{0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0xFF, 0xF0, length, type} + command + loop, 0x3);
}

/// Reads `bytes`, expects them back from the table and from its copy.
void read_whole(Roomy<CSpliceInfoSection>& table, const Bytes& bytes)
{
    ASSERT_TRUE(zqtest::read(table, bytes));
    EXPECT_EQ(zqtest::rendered(table), bytes);
    Roomy<CSpliceInfoSection> copy;
    table.copyTo(&copy);
    EXPECT_EQ(zqtest::rendered(copy), bytes);
}

const Bytes insert_on_air{0xFC, 0x30, 0x25, 0x00, 0x00, 0x34, 0x81, 0x32, 0x23, 0x00, 0xFF, 0xFF, 0xFF, 0x05,
                          0x62, 0x00, 0x1C, 0x7E, 0x7F, 0xEF, 0xFF, 0xDA, 0xC6, 0xE9, 0xA9, 0xFE, 0x00, 0x52,
                          0x65, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xE8, 0x67, 0x65, 0x71};

TEST(SpliceInfoSection, ReadsAnInsertThatDoesNotGiveItsLength)
{
    Roomy<CSpliceInfoSection> t;
    read_whole(t, insert_on_air);
    EXPECT_EQ(t.reserved, 3) << "sap_type";
    EXPECT_EQ(t.protocol_version, 0);
    EXPECT_EQ(t.pts_adjustment, 880882211U);
    EXPECT_EQ(t.tier, 0xFFF);
    EXPECT_EQ(t.splice_command_length, CSpliceInfoSection::length_not_given);
    EXPECT_EQ(t.splice_command_type, CSpliceInfoSection::splice_insert);
    EXPECT_EQ(t.insert.splice_event_id, 0x62001C7EU);
    EXPECT_EQ(t.insert.splice_event_cancel_indicator, 0);
    EXPECT_EQ(t.insert.out_of_network_indicator, 1);
    EXPECT_EQ(t.insert.program_splice_flag, 1);
    EXPECT_EQ(t.insert.duration_flag, 1);
    EXPECT_EQ(t.insert.splice_immediate_flag, 0);
    EXPECT_EQ(t.insert.event_id_compliance_flag, 1);
    EXPECT_EQ(t.insert.splice_time.time_specified_flag, 1);
    EXPECT_EQ(t.insert.splice_time.pts_time, 7965436329U);
    EXPECT_EQ(t.insert.break_duration.auto_return, 1);
    EXPECT_EQ(t.insert.break_duration.duration, 5400000U);
    EXPECT_EQ(t.insert.avail.unique_program_id, 0);
    EXPECT_TRUE(t.descriptors.empty());
    EXPECT_EQ(t.CRC_32, 0xE8676571U);
}

TEST(SpliceInfoSection, ReadsNullAndBandwidthReservation)
{
    for (const std::uint8_t type : {CSpliceInfoSection::splice_null, CSpliceInfoSection::bandwidth_reservation}) {
        Roomy<CSpliceInfoSection> t;
        read_whole(t, section(type, {}));
        EXPECT_EQ(t.splice_command_type, type);
        EXPECT_EQ(t.pts_adjustment, 1U);
    }
}

TEST(SpliceInfoSection, ReadsATimeSignalWithItsDescriptors)
{
    Roomy<CSpliceInfoSection> t;
    read_whole(t, section(CSpliceInfoSection::time_signal, {0xFE, 0x00, 0x00, 0x00, 0x2A},
                          Bytes{0x00, 0x0B, 0x02, 0x09} + "CUEI" + Bytes{0, 0, 0, 1, 0xFF}));
    EXPECT_EQ(t.time.pts_time, 42U);
    const auto segmentation = t.descriptors.find<mpegcore::scte35_segmentation_descriptor>();
    ASSERT_NE(segmentation, nullptr);
    EXPECT_EQ(segmentation->segmentation_event_id, 1U);
}

TEST(SpliceInfoSection, ReadsATimeSignalForNow)
{
    Roomy<CSpliceInfoSection> t;
    read_whole(t, section(CSpliceInfoSection::time_signal, {0x7F}));
    EXPECT_EQ(t.time.time_specified_flag, 0);
    EXPECT_EQ(t.time.reserved, 0x7F);
}

TEST(SpliceInfoSection, ReadsACancelledInsert)
{
    Roomy<CSpliceInfoSection> t;
    read_whole(t, section(CSpliceInfoSection::splice_insert, {0, 0, 0, 9, 0xFF}));
    EXPECT_EQ(t.insert.splice_event_id, 9U);
    EXPECT_EQ(t.insert.splice_event_cancel_indicator, 1);
}

TEST(SpliceInfoSection, ReadsInsertsOfComponentsWithAndWithoutTimes)
{
    Roomy<CSpliceInfoSection> timed, now;
    read_whole(timed, section(CSpliceInfoSection::splice_insert,
                              Bytes{0, 0, 0, 9, 0x7F, 0x8F, 0x02, 0x11, 0xFE, 0, 0, 0, 5, 0x12, 0x7F} +
                                  Bytes{0x12, 0x34, 0x01, 0x02}));
    ASSERT_EQ(timed.insert.components.size(), 2U);
    EXPECT_EQ(timed.insert.components[0].component_tag, 0x11);
    EXPECT_EQ(timed.insert.components[0].splice_time.pts_time, 5U);
    EXPECT_EQ(timed.insert.components[1].component_tag, 0x12);
    EXPECT_EQ(timed.insert.avail.unique_program_id, 0x1234);
    EXPECT_EQ(timed.insert.avail.avail_num, 1);
    EXPECT_EQ(timed.insert.avail.avails_expected, 2);
    read_whole(now, section(CSpliceInfoSection::splice_insert,
                            {0, 0, 0, 9, 0x7F, 0x9F, 0x02, 0x11, 0x12, 0x12, 0x34, 0x01, 0x02}));
    ASSERT_EQ(now.insert.immediate_components.size(), 2U);
    EXPECT_EQ(now.insert.immediate_components[1].component_tag, 0x12);
}

TEST(SpliceInfoSection, ReadsAScheduleOfEventsInEachForm)
{
    Roomy<CSpliceInfoSection> t;
    read_whole(t, section(CSpliceInfoSection::splice_schedule,
                          Bytes{0x03} + Bytes{0, 0, 0, 1, 0xFF} +
                              Bytes{0, 0, 0, 2, 0x7F, 0xFF, 1, 2, 3, 4, 0xFE, 0, 0, 0, 7, 0, 8, 9, 10} +
                              Bytes{0, 0, 0, 3, 0x3F, 0x1F, 0x01, 0x21, 5, 6, 7, 8, 0, 11, 12, 13}));
    ASSERT_EQ(t.schedule.events.size(), 3U);
    EXPECT_EQ(t.schedule.events[0].splice_event_cancel_indicator, 1);
    EXPECT_EQ(t.schedule.events[1].event_id_compliance_flag, 1);
    EXPECT_EQ(t.schedule.events[1].utc_splice_time, 0x01020304U);
    EXPECT_EQ(t.schedule.events[1].break_duration.duration, 7U);
    EXPECT_EQ(t.schedule.events[1].avail.unique_program_id, 8);
    EXPECT_EQ(t.schedule.events[2].event_id_compliance_flag, 0);
    ASSERT_EQ(t.schedule.events[2].components.size(), 1U);
    EXPECT_EQ(t.schedule.events[2].components[0].component_tag, 0x21);
    EXPECT_EQ(t.schedule.events[2].components[0].utc_splice_time, 0x05060708U);
    EXPECT_EQ(t.schedule.events[2].avail.avails_expected, 13);
}

TEST(SpliceInfoSection, KeepsPrivateAndUnknownCommandsWhole)
{
    Roomy<CSpliceInfoSection> known, unknown;
    read_whole(known, section(CSpliceInfoSection::private_command, Bytes{'A', 'B', 'C', 'D', 1, 2, 3}));
    EXPECT_EQ(known.identifier, 0x41424344U);
    EXPECT_EQ(known.command_byte, (Bytes{1, 2, 3}));
    read_whole(unknown, section(0x42, {1, 2, 3}));
    EXPECT_EQ(unknown.command_byte, (Bytes{1, 2, 3}));
}

TEST(SpliceInfoSection, KeepsAllBehindAPrivateCommandThatDoesNotGiveItsLength)
{
    Bytes bytes = section(CSpliceInfoSection::private_command, {'A', 'B', 'C', 'D', 1});
    bytes.resize(bytes.size() - 4);
    bytes[11] = 0xFF;
    bytes[12] = 0xFF;
    Roomy<CSpliceInfoSection> t;
    read_whole(t, zqtest::with_crc(bytes));
    EXPECT_EQ(t.command_byte, (Bytes{'A', 'B', 'C', 'D', 1, 0, 0}));
}

TEST(SpliceInfoSection, KeepsBytesBehindACommandWithinItsLength)
{
    Roomy<CSpliceInfoSection> t;
    read_whole(t, section(CSpliceInfoSection::time_signal, {0x7F, 0xAA, 0xBB}));
    EXPECT_EQ(t.command_byte, (Bytes{0xAA, 0xBB}));
}

TEST(SpliceInfoSection, KeepsStuffingBehindTheDescriptors)
{
    Roomy<CSpliceInfoSection> t;
    read_whole(t, section(CSpliceInfoSection::splice_null, {}, {0x00, 0x00, 0xFF, 0xFF}));
    EXPECT_EQ(t.alignment_stuffing, (Bytes{0xFF, 0xFF}));
}

TEST(SpliceInfoSection, KeepsCipherTextAndOtherProtocolsWhole)
{
    Bytes bytes = section(CSpliceInfoSection::time_signal, {0x7F});
    bytes.resize(bytes.size() - 4);
    for (const auto& [at, value] : {std::pair<std::size_t, unsigned char>{4, 0x84}, {3, 0x01}}) {
        Bytes other = bytes;
        other[at] = value;
        Roomy<CSpliceInfoSection> t;
        read_whole(t, zqtest::with_crc(other));
        EXPECT_FALSE(t.is_readable());
        EXPECT_EQ(t.encrypted_byte, (Bytes{0x06, 0x7F, 0x00, 0x00}));
    }
}

TEST(SpliceInfoSection, RefusesACommandThatItsLengthDoesNotHold)
{
    Roomy<CSpliceInfoSection> t;
    EXPECT_FALSE(zqtest::read(t, section(CSpliceInfoSection::time_signal, {0xFE, 0x00})));
}

TEST(SpliceInfoSection, ForgetsWhatItHeldWhenItReadsAgain)
{
    Roomy<CSpliceInfoSection> t;
    read_whole(t, section(CSpliceInfoSection::splice_schedule, Bytes{0x01, 0, 0, 0, 1, 0xFF}));
    read_whole(t, section(CSpliceInfoSection::time_signal, {0x7F}));
    EXPECT_TRUE(t.schedule.events.empty());
}

TEST(SpliceInfoSection, IsRefusedWhenTruncatedAtAnyByteAndWithAnyBitFlipped)
{
    for (std::size_t size = 0; size < insert_on_air.size(); ++size) {
        Roomy<CSpliceInfoSection> t;
        EXPECT_FALSE(zqtest::read(t, Bytes(insert_on_air.begin(), insert_on_air.begin() + size))) << size;
    }
    for (std::size_t bit = 0; bit < 8 * insert_on_air.size(); ++bit) {
        Bytes bytes = insert_on_air;
        bytes[bit / 8] ^= static_cast<unsigned char>(0x80 >> bit % 8);
        Roomy<CSpliceInfoSection> t;
        EXPECT_FALSE(zqtest::read(t, bytes)) << bit;
    }
}

TEST(SpliceInfoSection, RendersWhateverItReadOfRandomContents)
{
    std::mt19937 random(35);
    int whole = 0;
    for (int round = 0; round < 20000; ++round) {
        Bytes command(random() % 24);
        for (unsigned char& byte : command)
            byte = static_cast<unsigned char>(random() % 3 == 0 ? random() : random() % 3);
        const Bytes bytes = section(static_cast<std::uint8_t>(random() % 8), command);
        Roomy<CSpliceInfoSection> t;
        if (!zqtest::read(t, bytes))
            continue;
        ++whole;
        ASSERT_EQ(zqtest::rendered(t), bytes);
    }
    EXPECT_GT(whole, 1000);
}
} // namespace SpliceInfoSection_test
