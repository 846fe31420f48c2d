// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PacketFinder.h"
#include "support/Samples.h"
#include "support/Tables.h"
#include "tools/tables/section_line.h"

#include <gmock/gmock.h>

namespace section_listener_test
{
using testing::ElementsAre;
using zqtest::Bytes;
using zqtest::section_of;
using zqtest::Stream;
using zqtest::operator+;

std::vector<std::string> lines_about(const Bytes& stream, const std::vector<std::uint16_t>& PIDs = {})
{
    std::vector<std::string> lines;
    tables::section_listener listener(
        [&lines](const tables::heard_section& section) { lines.push_back(section_line(section)); });
    for (const auto PID : PIDs)
        listener.listen(PID);
    for (std::size_t at = 0; at + 188 <= stream.size(); at += 188)
        listener.put(stream.data() + at);
    return lines;
}

// transport_stream_id 0x1234, version 5, current; program 0x0007 on PID 0x0100, the network on 0x0020.
const Bytes PAT = section_of(0x00, {0x12, 0x34, 0xCB, 0x00, 0x00, 0x00, 0x00, 0xE0, 0x20, 0x00, 0x07, 0xE1, 0x00});
const Bytes PMT = section_of(0x02, {0x00, 0x07, 0xC1, 0x00, 0x00, 0xE1, 0x01, 0xF0, 0x00});
const Bytes TDT{0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45, 0x00};

std::string last_bytes(const Bytes& section)
{
    std::string text;
    for (std::size_t at = section.size() - 4; at < section.size(); ++at) {
        std::array<char, 3> byte{};
        std::snprintf(byte.data(), byte.size(), "%02x", section[at]);
        text += byte.data();
    }
    return text;
}

TEST(SectionListener, ListensToTablePIDsAndToThoseThatThePATNames)
{
    Stream stream;
    stream.section(0x0100, PMT).section(0x0000, PAT).section(0x0100, PMT).section(0x0020, PMT).section(0x0014, TDT);
    EXPECT_THAT(lines_about(stream.data),
                ElementsAre("1 0000 00 17 1234 5 1 0 0 " + last_bytes(PAT),
                            "2 0100 02 13 0007 0 1 0 0 " + last_bytes(PMT), "4 0014 70 5 - - - - - 79124500"));
}

TEST(SectionListener, ListensToTheStreamsThatMayCarryATableWhenItFollowsPMTs)
{
    const Bytes streams =
        Bytes{0x05, 0xE2, 0x01, 0xF0, 0x00} + Bytes{0x1B, 0xE2, 0x02, 0xF0, 0x00} + Bytes{0x86, 0xE2, 0x03, 0xF0, 0x00};
    Stream stream;
    stream.section(0x0000, PAT);
    stream.section(0x0100, section_of(0x02, Bytes{0x00, 0x07, 0xC1, 0x00, 0x00, 0xE1, 0x01, 0xF0, 0x00} + streams));
    for (const unsigned PID : {0x0201U, 0x0202U, 0x0203U})
        stream.section(PID, TDT);
    std::vector<unsigned> PIDs;
    tables::section_listener listener([&PIDs](const tables::heard_section& section) { PIDs.push_back(section.PID); });
    listener.follow_PMTs();
    for (std::size_t at = 0; at < stream.data.size(); at += 188)
        listener.put(stream.data.data() + at);
    EXPECT_THAT(PIDs, ElementsAre(0x0000, 0x0100, 0x0201, 0x0203));
}

TEST(SectionListener, ListensToWhatTheCallerNamesFromTheStart)
{
    Stream stream;
    stream.section(0x0100, PMT).section(0x0300, PMT);
    EXPECT_THAT(lines_about(stream.data, {0x0300}), ElementsAre("1 0300 02 13 0007 0 1 0 0 " + last_bytes(PMT)));
}

TEST(SectionListener, DoesNotFollowAPATThatIsNotYetCurrentOrDamaged)
{
    Bytes next = section_of(0x00, {0x12, 0x34, 0xCA, 0x00, 0x00, 0x00, 0x07, 0xE1, 0x00});
    Bytes damaged = PAT;
    damaged[10] ^= 1;
    Stream stream;
    stream.section(0x0000, next).section(0x0000, damaged).section(0x0100, PMT);
    EXPECT_THAT(lines_about(stream.data), ElementsAre("0 0000 00 13 1234 5 0 0 0 " + last_bytes(next)));
}

TEST(SectionListener, CountsPacketsAndDamagedSections)
{
    Bytes damaged = PAT;
    damaged[10] ^= 1;
    Stream stream;
    stream.section(0x0000, damaged).null().null();
    tables::section_listener listener([](const tables::heard_section&) {});
    for (std::size_t at = 0; at < stream.data.size(); at += 188)
        listener.put(stream.data.data() + at);
    EXPECT_EQ(listener.packets(), 3U);
    EXPECT_EQ(listener.damaged_sections(), 1U);
}

TEST(SectionListener, HearsOfEverySampleTheSectionsThatAnotherReaderHeard)
{
    const auto names = zqtest::sample_names(".sections.txt");
    if (names.empty())
        GTEST_SKIP() << "ZQ_SAMPLE_DIR is not set";
    for (const auto& name : names) {
        const std::string stream = zqtest::contents(name + ".ts");
        const auto expected = zqtest::lines_of(name + ".sections.txt");
        EXPECT_EQ(lines_about({stream.begin(), stream.end()}), expected) << name;
    }
}
} // namespace section_listener_test
