// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/SectionCarousel.h"

#include "mpegcore/sections/PacketTime.h"
#include "support/SectionPackets.h"

#include <gmock/gmock.h>

#include <map>
#include <random>

namespace SectionCarousel_test
{
using mpegcore::SectionCarousel;
using mpegcore::SectionFill;
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::good_section;
using namespace std::chrono_literals;

constexpr std::uint64_t packet_a_millisecond = 1'504'000;

const Bytes small = good_section(0x42, 20, 1);
const Bytes other = good_section(0x46, 20, 2);
const Bytes large = good_section(0x4E, 288, 3); // two packets

/// The first byte of the section, or of its rest, in each place of the stream; 0: the place was left.
std::vector<unsigned> places(SectionCarousel& carousel, std::size_t count)
{
    std::vector<unsigned> bytes;
    for (std::size_t at = 0; at < count; ++at) {
        const unsigned char* const packet = carousel.next();
        bytes.push_back(packet == nullptr ? 0 : (packet[1] & 0x40) != 0 ? packet[5] : packet[4]);
    }
    return bytes;
}

TEST(SectionCarousel, SendsEachSectionAtItsInterval)
{
    SectionCarousel carousel(packet_a_millisecond);
    EXPECT_EQ(carousel.add(0x11, small, 3ms), 0U);
    EXPECT_EQ(carousel.add(0x12, other, 5ms, 1ms), 1U);
    EXPECT_THAT(places(carousel, 12),
                ElementsAre(0x42, 0x46, 0, 0x42, 0, 0, 0x42 /* at 6 ms two are due */, 0x46, 0, 0x42, 0, 0x46));
}

TEST(SectionCarousel, SendsThePacketsOfASectionOneBehindTheOther)
{
    SectionCarousel carousel(packet_a_millisecond);
    ASSERT_TRUE(carousel.add(0x12, large, 4ms));
    EXPECT_THAT(places(carousel, 6), ElementsAre(0x4E, unsigned{large[183]}, 0, 0, 0x4E, unsigned{large[183]}));
}

TEST(SectionCarousel, LeavesOutRepetitionsForWhichThereIsNoRoom)
{
    SectionCarousel carousel(packet_a_millisecond);
    ASSERT_TRUE(carousel.add(0x11, small, 1us));
    ASSERT_TRUE(carousel.add(0x12, other, 1us));
    EXPECT_THAT(places(carousel, 6), ElementsAre(0x42, 0x46, 0x42, 0x46, 0x42, 0x46));
}

TEST(SectionCarousel, SendsTheNewBytesFromTheNextRepetitionOn)
{
    SectionCarousel carousel(packet_a_millisecond);
    const auto number = carousel.add(0x11, small, 2ms);
    EXPECT_THAT(places(carousel, 2), ElementsAre(0x42, 0));
    EXPECT_TRUE(carousel.replace(*number, other));
    EXPECT_FALSE(carousel.replace(*number + 1, other));
    EXPECT_FALSE(carousel.replace(*number, {0x42, 0xB0, 0x09}));
    EXPECT_THAT(places(carousel, 2), ElementsAre(0x46, 0));
}

TEST(SectionCarousel, SendsARemovedSectionNoMore)
{
    SectionCarousel carousel(packet_a_millisecond);
    const auto number = carousel.add(0x11, small, 2ms);
    EXPECT_THAT(places(carousel, 2), ElementsAre(0x42, 0));
    EXPECT_TRUE(carousel.remove(*number));
    EXPECT_FALSE(carousel.remove(*number));
    EXPECT_THAT(places(carousel, 3), ElementsAre(0, 0, 0));
}

TEST(SectionCarousel, TakesNothingThatItCouldNotSend)
{
    SectionCarousel carousel(packet_a_millisecond);
    EXPECT_FALSE(carousel.add(0x2000, small, 1ms));
    EXPECT_FALSE(carousel.add(0x11, small, 0ms));
    EXPECT_FALSE(carousel.add(0x11, small, -1ms));
    EXPECT_FALSE(carousel.add(0x11, {}, 1ms));
    EXPECT_FALSE(carousel.add(0x11, {0x42, 0xB0, 0x09}, 1ms));
    EXPECT_THAT(places(carousel, 2), ElementsAre(0, 0));
}

TEST(SectionCarousel, PacksWhatIsDueTogetherWhenItMay)
{
    for (const auto& [fill, packets] : {std::pair{SectionFill::stuffing, 4U}, {SectionFill::packing, 2U}}) {
        SectionCarousel carousel(packet_a_millisecond, fill);
        for (const auto& section : {small, large, other})
            ASSERT_TRUE(carousel.add(0x11, section, 100ms));
        unsigned sent = 0;
        while (carousel.next() != nullptr)
            ++sent;
        EXPECT_EQ(sent, packets);
    }
}

TEST(SectionCarousel, KeepsTheIntervalsAndCountersOverALongTime)
{
    constexpr std::uint64_t bitrate = 10'000'019; // no whole number of packets a second
    SectionCarousel carousel(bitrate);
    const std::map<unsigned, std::chrono::nanoseconds> intervals{{0x10, 25ms}, {0x11, 101ms}, {0x12, 7777777ns}};
    for (const auto& [PID, interval] : intervals)
        ASSERT_TRUE(carousel.add(static_cast<std::uint16_t>(PID), good_section(0x42, 500, PID), interval));
    std::map<unsigned, std::vector<Bytes>> packets;
    while (carousel.time() < 20s)
        if (const unsigned char* const packet = carousel.next())
            packets[(packet[1] & 0x1FU) << 8 | packet[2]].emplace_back(packet, packet + 188);
    for (const auto& [PID, interval] : intervals)
        EXPECT_EQ(zqtest::gathered(packets[PID]).size(), static_cast<std::size_t>((20s - 1ns) / interval + 1));
}

TEST(PacketTime, IsExactOverDays)
{
    EXPECT_EQ(mpegcore::packets_time(0, 1), 0ns);
    EXPECT_EQ(mpegcore::packets_time(1, 1'504'000), 1ms);
    EXPECT_EQ(mpegcore::packets_time(86'400'000ULL * 30, 1'504'000), 720h);
    EXPECT_EQ(mpegcore::packets_time(1, 10'000'000'000), 150ns);
    EXPECT_EQ(mpegcore::packets_time(3, 7), 644'571'428'571ns);
}
} // namespace SectionCarousel_test
