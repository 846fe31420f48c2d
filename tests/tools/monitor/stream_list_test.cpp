// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/stream_list.h"

#include <gmock/gmock.h>

#include <fstream>

namespace stream_list_test
{
using monitor::parse_stream_list;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

std::vector<std::string> faults_of(const std::string& text) { return parse_stream_list(text, "list.toml").faults; }

TEST(StreamList, ReadsNameAddressInterfaceLabelsAndLimits)
{
    const auto list = parse_stream_list(R"([[stream]]
name = "News"
address = "udp://10.0.0.1@239.1.1.1:5000"
interface = "eth1"
buffer_size = 8000000
labels = { site = "north", tier = "1" }
limits = { PCR_repetition = 40, PAT = 100, SI_is_expected = false, T2MI_PID = 0x1000, sync_bytes_lost = 3 }
)",
                                        "list.toml");
    ASSERT_THAT(list.faults, ElementsAre());
    ASSERT_EQ(list.streams.size(), 1U);
    const auto& stream = list.streams[0];
    EXPECT_EQ(stream.name, "News");
    EXPECT_EQ(stream.address, "udp://10.0.0.1@239.1.1.1:5000");
    EXPECT_EQ(stream.interface, "eth1");
    EXPECT_EQ(stream.buffer_size, 8000000);
    EXPECT_THAT(stream.labels, ElementsAre(testing::Pair("site", "north"), testing::Pair("tier", "1")));
    EXPECT_EQ(stream.limits.PCR_repetition, 40'000'000U);
    EXPECT_EQ(stream.limits.PAT, 100'000'000U);
    EXPECT_EQ(stream.limits.PMT, mpegcore::MonitorLimits().PMT);
    EXPECT_FALSE(stream.limits.SI_is_expected);
    EXPECT_EQ(stream.limits.T2MI_PID, 0x1000);
    EXPECT_EQ(stream.limits.sync_bytes_lost, 3U);
}

TEST(StreamList, WhatADefaultSaysHoldsWhereTheStreamSaysNothingWhereverItStands)
{
    const auto list = parse_stream_list(R"([[stream]]
name = "A"
address = "udp://239.1.1.1:5000"
[[stream]]
name = "B"
address = "udp://239.1.1.2:5000"
interface = "eth2"
limits = { PAT = 200 }
[defaults]
interface = "eth1"
limits = { PAT = 300, PMT = 400 }
labels = { site = "north" }
)",
                                        "list.toml");
    ASSERT_THAT(list.faults, ElementsAre());
    ASSERT_EQ(list.streams.size(), 2U);
    EXPECT_EQ(list.streams[0].interface, "eth1");
    EXPECT_EQ(list.streams[0].limits.PAT, 300'000'000U);
    EXPECT_EQ(list.streams[1].interface, "eth2");
    EXPECT_EQ(list.streams[1].limits.PAT, 200'000'000U);
    EXPECT_EQ(list.streams[1].limits.PMT, 400'000'000U);
    EXPECT_EQ(list.streams[1].labels.at("site"), "north");
}

TEST(StreamList, AStreamWithoutANameIsCalledByItsAddress)
{
    const auto list = parse_stream_list("[[stream]]\naddress = \"udp://:5000\"\n", "list.toml");
    ASSERT_EQ(list.streams.size(), 1U);
    EXPECT_EQ(list.streams[0].name, "udp://:5000");
}

TEST(StreamList, AnEmptyFileHasNoStreamsAndNoFaults)
{
    const auto list = parse_stream_list("", "list.toml");
    EXPECT_TRUE(list.streams.empty());
    EXPECT_TRUE(list.faults.empty());
}

TEST(StreamList, TellsTheLineOfEachFaultInTheirOrder)
{
    EXPECT_THAT(faults_of(R"([defaults]
limits = { PAT = -1 }
[[stream]]
name = "A"
address = "udp://239.1.1.1"
buffer_size = "large"
[[stream]]
name = ""
address = "udp://239.1.1.1:1"
colour = "red"
[[stream]]
name = "C"
)"),
                ElementsAre("list.toml:2: this is to be a whole number from 0 to 86400000",
                            "list.toml:5: \"udp://239.1.1.1\" is not udp://[SOURCE@]GROUP:PORT",
                            "list.toml:6: this is to be a whole number from 0 to 1073741823",
                            "list.toml:8: a name has 1 to 100 bytes", "list.toml:10: \"colour\" is unknown here",
                            "list.toml:11: a stream needs an address"));
}

TEST(StreamList, ANameComesOnce)
{
    EXPECT_THAT(faults_of(R"([[stream]]
name = "A"
address = "udp://239.1.1.1:5000"
[[stream]]
address = "udp://239.1.1.2:5000"
name = "A"
)"),
                ElementsAre("list.toml:6: there is a stream \"A\" already"));
}

TEST(StreamList, ALimitThatIsNoneIsNamed)
{
    EXPECT_THAT(faults_of("[defaults]\nlimits = { PATT = 1 }"),
                ElementsAre("list.toml:2: there is no limit \"PATT\" that takes this"));
    EXPECT_THAT(faults_of("[defaults]\nlimits = { T2MI_PID = 8191 }"), ElementsAre(HasSubstr("\"T2MI_PID\"")));
    EXPECT_THAT(faults_of("[defaults]\nlimits = { SI_is_expected = 1 }"), ElementsAre(HasSubstr("true or false")));
    EXPECT_THAT(faults_of("[defaults]\nlimits = 5"), ElementsAre("list.toml:2: limits are a table"));
}

TEST(StreamList, LabelsAreThoseThatPrometheusTakes)
{
    for (const auto* label : {"Site", "a-b", "\"\"", "__a", "stream", "address", "le"})
        EXPECT_THAT(faults_of(std::string("[defaults.labels]\n") + label + " = \"x\""),
                    ElementsAre(StartsWith("list.toml:2: the label")))
            << label;
    EXPECT_THAT(faults_of("[defaults]\nlabels = { a = 1 }"), ElementsAre("list.toml:2: this is to be a text"));
}

TEST(StreamList, WhatIsNoTOMLIsToldWithItsLine)
{
    EXPECT_THAT(faults_of("[[stream]]\nname = \"A\naddress"), ElementsAre(StartsWith("list.toml:2: ")));
    EXPECT_THAT(faults_of("[stream]\nname = \"A\""), ElementsAre("list.toml:1: streams are begun with [[stream]]"));
    EXPECT_THAT(faults_of("defaults = 1"), ElementsAre("list.toml:1: defaults are begun with [defaults]"));
}

TEST(StreamList, AFileThatCannotBeReadIsToldWithTheReason)
{
    EXPECT_THAT(monitor::read_stream_list("/nowhere/list.toml").faults,
                ElementsAre("/nowhere/list.toml: No such file or directory"));
    EXPECT_THAT(monitor::read_stream_list("/").faults, ElementsAre(StartsWith("/: ")));
}

TEST(StreamList, EveryTruncationOfAGoodFileEitherReadsOrNamesALine)
{
    const std::string good = "[[stream]]\nname = \"A\"\naddress = \"udp://239.1.1.1:5000\"\nlimits = { PAT = 100 }\n";
    for (std::size_t size = 0; size <= good.size(); ++size)
        for (const auto& fault : faults_of(good.substr(0, size)))
            EXPECT_THAT(fault, testing::MatchesRegex("list\\.toml:[1-5]: .+"));
}

TEST(StreamSettings, AreTheSameOnlyWhenAllOfThemAre)
{
    const monitor::stream_settings one = monitor::stream_of_argument("A=udp://239.1.1.1:5000");
    auto other = one;
    EXPECT_TRUE(one == other);
    other.limits.TOT += 1;
    EXPECT_FALSE(one == other);
    other = one;
    other.labels["a"] = "b";
    EXPECT_FALSE(one == other);
    other = one;
    other.limits.SI_is_expected = false;
    EXPECT_FALSE(one == other);
}

TEST(StreamSettings, AnArgumentMayNameTheStream)
{
    EXPECT_EQ(monitor::stream_of_argument("A=udp://239.1.1.1:5000").name, "A");
    EXPECT_EQ(monitor::stream_of_argument("A=udp://239.1.1.1:5000").address, "udp://239.1.1.1:5000");
    EXPECT_EQ(monitor::stream_of_argument("udp://239.1.1.1:5000").name, "udp://239.1.1.1:5000");
}
TEST(StreamAddress, IsMadeOfIPAddresses)
{
    for (const char* const good : {"udp://:5000", "udp://239.1.1.1:5000", "udp://[ff3e::1]:5000", "udp://192.0.2.1:1",
                                   "udp://10.0.0.1@232.1.1.1:5000", "udp://[fe80::1%nowhere0]:5000"})
        EXPECT_EQ(monitor::stream_address_fault(good), "") << good;
    EXPECT_EQ(monitor::stream_address_fault("udp://239.1.1.300:5000"), "\"239.1.1.300\" is not an IP address");
    EXPECT_EQ(monitor::stream_address_fault("udp://encoder7:5000"), "\"encoder7\" is not an IP address");
    EXPECT_EQ(monitor::stream_address_fault("udp://x@239.1.1.1:5000"), "\"x\" is not an IP address");
    for (const char* const bad : {"udp://10.0.0.1@192.0.2.1:5000", "udp://10.0.0.1@[ff3e::1]:5000"})
        EXPECT_THAT(monitor::stream_address_fault(bad), testing::EndsWith("is not a group with a source of its kind"));
}
} // namespace stream_list_test
