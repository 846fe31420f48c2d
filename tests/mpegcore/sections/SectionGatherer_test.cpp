// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/SectionGatherer.h"

#include "support/SectionPackets.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <initializer_list>

namespace SectionGatherer_test
{
using mpegcore::SectionCheck;
using mpegcore::SectionGatherer;
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::gathered;
using zqtest::good_section;
using zqtest::ModelSection;
using zqtest::packets_of;
using zqtest::Stream;

constexpr unsigned PID = 0x0123;

/// A payload of 184 bytes: pointer_field, the parts, 0xFF up to its end.
Bytes payload(unsigned pointer_field, std::initializer_list<Bytes> parts)
{
    Bytes bytes{static_cast<unsigned char>(pointer_field)};
    for (const auto& part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    bytes.resize(std::max<std::size_t>(bytes.size(), 184), 0xFF);
    return bytes;
}

Bytes part(const Bytes& bytes, std::size_t from, std::size_t count = 1000000)
{
    const auto end = std::min(bytes.size(), from + count);
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.begin() + static_cast<std::ptrdiff_t>(end)};
}

ModelSection good(std::size_t packet, const Bytes& bytes) { return {packet, bytes, true}; }

/// The two packets of a section of 300 bytes.
std::vector<Bytes> two_packets(const Bytes& section) { return packets_of(Stream().section(PID, section).data); }

const Bytes small = good_section(0x42, 30, 1);
const Bytes other = good_section(0x46, 40, 2);
const Bytes large = good_section(0x4E, 288, 3);

TEST(SectionGatherer, GivesASectionWithinOnePacketWhereItLies)
{
    const auto data = Stream().section(PID, small).data;
    SectionGatherer gatherer;
    const unsigned char* where = nullptr;
    gatherer.put(data.data(), [&](const unsigned char* section, std::size_t size, SectionCheck check) {
        where = section;
        EXPECT_EQ(size, small.size());
        EXPECT_EQ(check, SectionCheck::good);
    });
    EXPECT_EQ(where, data.data() + 5);
}

TEST(SectionGatherer, GivesEachSectionOnceWhenItsLastByteIsThere)
{
    auto packets = two_packets(large);
    packets.push_back(packets_of(Stream().raw(PID, Stream::goes_on, 1, {}).data).front());
    packets.back()[3] = 0x12;
    EXPECT_THAT(gathered(packets), ElementsAre(good(1, large)));
}

TEST(SectionGatherer, FindsSeveralSectionsInAPacket)
{
    const auto packets = packets_of(Stream().packet(PID, Stream::begins, payload(0, {small, other, small})).data);
    EXPECT_THAT(gathered(packets), ElementsAre(good(0, small), good(0, other), good(0, small)));
}

TEST(SectionGatherer, EndsASectionInFrontOfThePointerAndBeginsTheNextBehind)
{
    Stream stream;
    stream.packet(PID, Stream::begins, payload(0, {part(large, 0, 183)}));
    stream.packet(PID, Stream::begins, payload(117, {part(large, 183), small}));
    EXPECT_THAT(gathered(packets_of(stream.data)), ElementsAre(good(1, large), good(1, small)));
}

TEST(SectionGatherer, BeginsBehindAPointerThoughItSawNoneOfTheBytesInFrontOfIt)
{
    const auto packets = packets_of(Stream().packet(PID, Stream::begins, payload(10, {Bytes(10, 0x42), small})).data);
    EXPECT_THAT(gathered(packets), ElementsAre(good(0, small)));
}

TEST(SectionGatherer, PutsAHeaderTogetherThatWasSplitAfterOneOrTwoBytes)
{
    for (const std::size_t split : {1, 2, 3}) {
        Stream stream;
        const Bytes first = good_section(0x42, 183 - split - 12);
        stream.packet(PID, Stream::begins, payload(0, {first, part(large, 0, split)}));
        stream.packet(PID, Stream::goes_on, part(large, split, 184));
        stream.packet(PID, Stream::begins,
                      payload(static_cast<unsigned>(large.size() - split - 184), {part(large, split + 184), small}));
        EXPECT_THAT(gathered(packets_of(stream.data)), ElementsAre(good(0, first), good(2, large), good(2, small)));
    }
}

TEST(SectionGatherer, TakesAHeaderByteByByte)
{
    Stream stream;
    stream.packet(PID, Stream::begins, Bytes{0, small[0]});
    for (std::size_t at = 1; at < small.size(); ++at)
        stream.packet(PID, Stream::goes_on, Bytes{small[at]});
    EXPECT_THAT(gathered(packets_of(stream.data)), ElementsAre(good(small.size() - 1, small)));
}

TEST(SectionGatherer, StopsAtStuffing)
{
    const auto packets = packets_of(Stream().packet(PID, Stream::begins, payload(0, {small, {0xFF}, small})).data);
    EXPECT_THAT(gathered(packets), ElementsAre(good(0, small)));
}

TEST(SectionGatherer, BeginsNoSectionInAPacketThatAnnouncesNone)
{
    Stream stream;
    stream.packet(PID, Stream::begins, payload(0, {part(large, 0, 183)}));
    Bytes rest = part(large, 183);
    rest.insert(rest.end(), small.begin(), small.end());
    stream.packet(PID, Stream::goes_on, rest);
    EXPECT_THAT(gathered(packets_of(stream.data)), ElementsAre(good(1, large)));
}

TEST(SectionGatherer, DropsASectionThatTheBytesInFrontOfThePointerDoNotEnd)
{
    for (const std::size_t given : {std::size_t{0}, std::size_t{116}}) {
        Stream stream;
        stream.packet(PID, Stream::begins, payload(0, {part(large, 0, 183)}));
        stream.packet(PID, Stream::begins, payload(static_cast<unsigned>(given), {part(large, 183, given), small}));
        stream.packet(PID, Stream::goes_on, part(large, 183 + given));
        EXPECT_THAT(gathered(packets_of(stream.data)), ElementsAre(good(1, small)));
    }
}

TEST(SectionGatherer, DropsWhatItBeganAtAPointerBeyondThePacket)
{
    for (const unsigned pointer_field : {184U, 255U}) {
        Stream stream;
        stream.packet(PID, Stream::begins, payload(0, {part(large, 0, 183)}));
        stream.packet(PID, Stream::begins, payload(pointer_field, {part(large, 183)}));
        EXPECT_THAT(gathered(packets_of(stream.data)), IsEmpty());
    }
}

TEST(SectionGatherer, LetsThePointerLeadToTheEndOfThePacket)
{
    Bytes rest{117};
    rest.insert(rest.end(), large.begin() + 183, large.end());
    Stream stream;
    stream.packet(PID, Stream::begins, payload(0, {part(large, 0, 183)}));
    stream.packet(PID, Stream::begins, rest);
    EXPECT_THAT(gathered(packets_of(stream.data)), ElementsAre(good(1, large)));
}

TEST(SectionGatherer, DropsARepeatedPacket)
{
    auto packets = two_packets(large);
    packets.insert(packets.begin() + 1, packets[0]);
    packets.push_back(packets.back());
    EXPECT_THAT(gathered(packets), ElementsAre(good(2, large)));
}

TEST(SectionGatherer, TakesAPacketThatDiffersFromTheOneWithItsCounterForAJump)
{
    auto packets = packets_of(Stream().section(PID, small).section(PID, other).data);
    packets[1][3] = packets[0][3];
    EXPECT_THAT(gathered(packets), ElementsAre(good(0, small), good(1, other)));
    packets = two_packets(large);
    packets[1][3] = packets[0][3];
    EXPECT_THAT(gathered(packets), IsEmpty());
}

TEST(SectionGatherer, DropsTheSectionBegunWhereTheCounterJumps)
{
    auto packets = two_packets(large);
    packets[1][3] = 0x12;
    EXPECT_THAT(gathered(packets), IsEmpty());
}

TEST(SectionGatherer, LetsADiscontinuityIndicatorExcuseTheJump)
{
    Stream stream;
    stream.packet(PID, Stream::begins, payload(0, {part(large, 0, 183)}));
    stream.packet(PID, Stream::goes_on, part(large, 183), {}, 0x80);
    stream.data[188 + 3] = 0x3A;
    EXPECT_THAT(gathered(packets_of(stream.data)), ElementsAre(good(1, large)));
}

TEST(SectionGatherer, CountsOverTheEndOfTheCounter)
{
    Stream stream;
    std::vector<ModelSection> expected;
    for (std::size_t count = 0; count < 20; ++count) {
        stream.section(PID, large);
        expected.push_back(good(2 * count + 1, large));
    }
    EXPECT_EQ(gathered(packets_of(stream.data)), expected);
}

TEST(SectionGatherer, DropsTheSectionBegunAtADamagedOrScrambledPacket)
{
    for (const auto& [byte, bits] : {std::pair<std::size_t, unsigned>{1, 0x80}, {3, 0x40}, {3, 0x80}, {3, 0xC0}}) {
        auto packets = two_packets(large);
        const auto again = packets;
        packets[1][byte] = static_cast<unsigned char>(packets[1][byte] | bits);
        EXPECT_THAT(gathered(packets), IsEmpty());
        packets.push_back(again[1]); // its good repetition comes too late
        EXPECT_THAT(gathered(packets), IsEmpty());
    }
}

TEST(SectionGatherer, TakesThePacketBehindADamagedOneThatBeginsASection)
{
    auto packets = packets_of(Stream().section(PID, small).section(PID, other).section(PID, small).data);
    packets[1][1] = static_cast<unsigned char>(packets[1][1] | 0x80);
    EXPECT_THAT(gathered(packets), ElementsAre(good(0, small), good(2, small)));
}

TEST(SectionGatherer, IsNotMovedByAPacketWithoutPayload)
{
    for (const unsigned adaptation_field_control : {0U, 2U}) {
        const auto packets = two_packets(large);
        auto between = packets_of(Stream().raw(PID, Stream::begins, adaptation_field_control, {183, 0}).data).front();
        between[3] = static_cast<unsigned char>((between[3] & 0xF0) | 9);
        EXPECT_THAT(gathered({packets[0], between, packets[1]}), ElementsAre(good(2, large)));
    }
}

TEST(SectionGatherer, LeavesOutAPacketWhoseAdaptationFieldGoesBeyondIt)
{
    const auto packets = two_packets(large);
    auto broken = packets_of(Stream().raw(PID, Stream::begins, 3, {184}).data).front();
    EXPECT_THAT(gathered({packets[0], broken, packets[1]}), ElementsAre(good(2, large)));
}

TEST(SectionGatherer, DropsTheSectionBegunWhereAUnitStartHasNoByte)
{
    const auto packets = two_packets(large);
    auto empty = packets_of(Stream().raw(PID, Stream::begins, 3, {183, 0}).data).front();
    empty[3] = 0x31;
    auto last = packets[1];
    last[3] = 0x12;
    EXPECT_THAT(gathered({packets[0], empty, last}), IsEmpty());
}

TEST(SectionGatherer, TellsSectionsWhoseCRCFailed)
{
    auto wrong = large;
    wrong[100] ^= 1;
    EXPECT_THAT(gathered(two_packets(wrong)), ElementsAre(ModelSection{1, wrong, false}));
    auto short_one = Bytes{0x42, 0xF0, 0x00};
    EXPECT_THAT(gathered(packets_of(Stream().section(PID, short_one).data)),
                ElementsAre(ModelSection{0, short_one, false}));
}

TEST(SectionGatherer, AsksForNoCRCWhereTheKindHasNone)
{
    for (const auto& section :
         {Bytes{0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45, 0x00}, Bytes{0x71, 0x70, 0x00}, Bytes{0x72, 0x70, 0x01, 0x00},
          Bytes{0x7E, 0x70, 0x01, 0xFF}, Bytes{0x90, 0x30, 0x01, 7}, Bytes{0x70, 0xF0, 0x01, 0x00}})
        EXPECT_THAT(gathered(packets_of(Stream().section(PID, section).data)), ElementsAre(good(0, section)));
}

TEST(SectionGatherer, AsksForTheCRCOfKindsThatHaveOneWithoutTheSyntaxIndicator)
{
    const Bytes TOT = zqtest::with_CRC({0x73, 0x70, 0x0B, 0xC0, 0x79, 0x12, 0x45, 0x00, 0xF0, 0x00});
    const Bytes splice = zqtest::with_CRC({0xFC, 0x30, 0x06, 0x00, 0x00});
    for (const auto& section : {TOT, splice}) {
        EXPECT_THAT(gathered(packets_of(Stream().section(PID, section).data)), ElementsAre(good(0, section)));
        auto wrong = section;
        wrong.back() ^= 1;
        EXPECT_THAT(gathered(packets_of(Stream().section(PID, wrong).data)),
                    ElementsAre(ModelSection{0, wrong, false}));
    }
    auto PAT = good_section(0x00, 4);
    PAT[1] &= 0x7F; // the indicator is wrong, and so the CRC_32
    EXPECT_THAT(gathered(packets_of(Stream().section(PID, PAT).data)), ElementsAre(ModelSection{0, PAT, false}));
}

TEST(SectionGatherer, TakesTheLongestSectionThatCanBeAnnounced)
{
    const auto longest = good_section(0x4E, 4098 - 12);
    ASSERT_EQ(longest.size(), mpegcore::longest_section);
    EXPECT_THAT(gathered(packets_of(Stream().section(PID, longest).data)), ElementsAre(good(22, longest)));
}

TEST(SectionGatherer, GivesNothingOfAStreamCutAnywhereThatIsNotWhole)
{
    const auto section = good_section(0x4E, 800);
    const auto packets = packets_of(Stream().section(PID, section).data);
    for (std::size_t count = 0; count < packets.size(); ++count)
        EXPECT_THAT(gathered({packets.begin(), packets.begin() + static_cast<std::ptrdiff_t>(count)}), IsEmpty());
    for (std::size_t from = 1; from < packets.size(); ++from)
        EXPECT_THAT(gathered({packets.begin() + static_cast<std::ptrdiff_t>(from), packets.end()}), IsEmpty());
}

TEST(SectionGatherer, ForgetsEverythingAtAReset)
{
    const auto packets = two_packets(large);
    SectionGatherer gatherer;
    std::size_t sections = 0;
    const auto count = [&](const unsigned char*, std::size_t, SectionCheck) { ++sections; };
    gatherer.put(packets[0].data(), count);
    gatherer.reset();
    gatherer.put(packets[1].data(), count);
    EXPECT_EQ(sections, 0U);
    gatherer.reset();
    gatherer.put(packets[0].data(), count); // no repetition of the one before
    gatherer.put(packets[1].data(), count);
    EXPECT_EQ(sections, 1U);
}

TEST(SectionGatherer, MayBeResetByTheSink)
{
    Stream stream;
    stream.packet(PID, Stream::begins, payload(0, {part(large, 0, 183)}));
    stream.packet(PID, Stream::begins, payload(117, {part(large, 183), small}));
    SectionGatherer gatherer;
    std::vector<Bytes> sections;
    for (const auto& packet : packets_of(stream.data))
        gatherer.put(packet.data(), [&](const unsigned char* section, std::size_t size, SectionCheck) {
            gatherer.reset();
            sections.emplace_back(section, section + size);
        });
    EXPECT_THAT(sections, ElementsAre(large, small));
}
} // namespace SectionGatherer_test
