// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/SectionPacketizer.h"

#include "support/Samples.h"
#include "support/SectionPackets.h"

#include <gmock/gmock.h>

#include <map>
#include <random>

namespace SectionPacketizer_test
{
using mpegcore::SectionFill;
using mpegcore::SectionPacketizer;
using testing::ElementsAre;
using testing::SizeIs;
using zqtest::Bytes;
using zqtest::good_section;

/// The packets of the sections, and how many were not taken.
std::vector<Bytes> packetized(const std::vector<Bytes>& sections, SectionFill fill, unsigned PID = 0x0123)
{
    SectionPacketizer packetizer(static_cast<std::uint16_t>(PID), fill);
    std::vector<Bytes> packets;
    const auto sink = [&](const unsigned char* packet) { packets.emplace_back(packet, packet + 188); };
    for (const auto& section : sections)
        EXPECT_TRUE(packetizer.put(section.data(), section.size(), sink));
    packetizer.flush(sink);
    return packets;
}

std::vector<Bytes> bytes_of(const std::vector<zqtest::ModelSection>& sections)
{
    std::vector<Bytes> bytes;
    for (const auto& section : sections)
        bytes.push_back(section.bytes);
    return bytes;
}

/// The header of a packet, then the payload parts, then 0xFF.
Bytes packet(const Bytes& header, std::initializer_list<Bytes> parts)
{
    Bytes bytes = header;
    for (const auto& part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    bytes.resize(188, 0xFF);
    return bytes;
}

Bytes part(const Bytes& bytes, std::size_t from, std::size_t to)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

const Bytes small = good_section(0x42, 20);  // 32 bytes
const Bytes large = good_section(0x4E, 288); // 300 bytes

TEST(SectionPacketizer, BeginsEverySectionInAPacketOfItsOwnWithStuffingBehind)
{
    EXPECT_THAT(packetized({small, large, small}, SectionFill::stuffing),
                ElementsAre(packet({0x47, 0x41, 0x23, 0x10, 0}, {small}),
                            packet({0x47, 0x41, 0x23, 0x11, 0}, {part(large, 0, 183)}),
                            packet({0x47, 0x01, 0x23, 0x12}, {part(large, 183, 300)}),
                            packet({0x47, 0x41, 0x23, 0x13, 0}, {small})));
}

TEST(SectionPacketizer, PacksSectionsBackToBack)
{
    EXPECT_THAT(packetized({small, large, small, large}, SectionFill::packing),
                ElementsAre(packet({0x47, 0x41, 0x23, 0x10, 0}, {small, part(large, 0, 151)}),
                            packet({0x47, 0x41, 0x23, 0x11, 149}, {part(large, 151, 300), small, part(large, 0, 2)}),
                            packet({0x47, 0x01, 0x23, 0x12}, {part(large, 2, 186)}),
                            packet({0x47, 0x01, 0x23, 0x13}, {part(large, 186, 300)})));
}

TEST(SectionPacketizer, SendsNothingOfASectionThatFitsUntilTheFlush)
{
    SectionPacketizer packetizer(0x20, SectionFill::packing);
    std::size_t packets = 0;
    const auto sink = [&](const unsigned char*) { ++packets; };
    ASSERT_TRUE(packetizer.put(small.data(), small.size(), sink));
    EXPECT_EQ(packets, 0U);
    packetizer.flush(sink);
    EXPECT_EQ(packets, 1U);
    packetizer.flush(sink);
    EXPECT_EQ(packets, 1U);
}

TEST(SectionPacketizer, BeginsNoSectionWhereOnlyThePointerWouldFit)
{
    // Behind 183 bytes that go on, a pointer_field would fill the packet.
    const auto first = good_section(0x42, 183 + 183 - 12);
    EXPECT_THAT(packetized({first, small}, SectionFill::packing),
                ElementsAre(packet({0x47, 0x41, 0x23, 0x10, 0}, {part(first, 0, 183)}),
                            packet({0x47, 0x01, 0x23, 0x11}, {part(first, 183, 366)}),
                            packet({0x47, 0x41, 0x23, 0x12, 0}, {small})));
}

TEST(SectionPacketizer, SplitsAHeaderAfterItsFirstByte)
{
    const auto first = good_section(0x42, 183 + 182 - 12);
    EXPECT_THAT(packetized({first, small}, SectionFill::packing),
                ElementsAre(packet({0x47, 0x41, 0x23, 0x10, 0}, {part(first, 0, 183)}),
                            packet({0x47, 0x41, 0x23, 0x11, 182}, {part(first, 183, 365), part(small, 0, 1)}),
                            packet({0x47, 0x01, 0x23, 0x12}, {part(small, 1, 32)})));
}

TEST(SectionPacketizer, TakesOnlyWhatIsOneSection)
{
    SectionPacketizer packetizer(0x20);
    std::size_t packets = 0;
    const auto sink = [&](const unsigned char*) { ++packets; };
    auto stuffing = small;
    stuffing[0] = 0xFF;
    for (std::size_t size = 0; size < small.size(); ++size)
        EXPECT_FALSE(packetizer.put(small.data(), size, sink));
    EXPECT_FALSE(packetizer.put(stuffing.data(), stuffing.size(), sink));
    EXPECT_EQ(packets, 0U);
    EXPECT_TRUE(packetizer.put(small.data(), small.size(), sink));
}

TEST(SectionPacketizer, GivesBackRandomSectionsThroughAGatherer)
{
    std::mt19937 random(1);
    for (const auto fill : {SectionFill::stuffing, SectionFill::packing}) {
        std::vector<Bytes> sections;
        std::size_t bytes = 0;
        for (unsigned count = 0; count < 3000; ++count) {
            sections.push_back(
                good_section(random() % 100, random() % (random() % 4 == 0 ? 4087 : 200), random() % 65536));
            bytes += sections.back().size();
        }
        const auto packets = packetized(sections, fill);
        ASSERT_EQ(bytes_of(zqtest::gathered(packets)), sections);
        // Of each payload at most a pointer_field and a byte of stuffing are lost.
        EXPECT_TRUE(fill == SectionFill::stuffing || packets.size() * 182 <= bytes + 182);
    }
}

TEST(SectionPacketizer, GivesBackEverySectionOfTheSamples)
{
    const auto names = zqtest::sample_names(".sections.txt");
    if (names.empty())
        GTEST_SKIP() << "ZQ_SAMPLE_DIR names no folder with samples";
    for (const auto& name : names) {
        const std::string data = zqtest::contents(name + ".ts");
        std::map<unsigned, std::vector<Bytes>> packets;
        for (const auto& one : zqtest::packets_of({data.begin(), data.end()}))
            packets[(one[1] & 0x1FU) << 8 | one[2]].push_back(one);
        for (const auto& [PID, all] : packets) {
            std::vector<Bytes> sections;
            for (const auto& section : zqtest::gathered(all))
                if (section.is_good)
                    sections.push_back(section.bytes);
            for (const auto fill : {SectionFill::stuffing, SectionFill::packing})
                ASSERT_EQ(bytes_of(zqtest::gathered(packetized(sections, fill, PID))), sections) << name << " " << PID;
        }
    }
}
} // namespace SectionPacketizer_test
