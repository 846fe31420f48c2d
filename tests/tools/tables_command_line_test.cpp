// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/udp_address.h"
#include "tools/tables/command_line.h"

#include <gmock/gmock.h>

namespace tables_command_line_test
{
using testing::ElementsAre;
using testing::HasSubstr;
using tools::request;

struct Parsed
{
    explicit Parsed(const std::vector<std::string>& arguments)
        : result(tables::parse_command_line(arguments, "1.2.3", options, text))
    {}

    tables::options options;
    std::string text;
    request result;
};

TEST(TablesCommandLine, ReadsStandardInputUnlessAnInputIsNamed)
{
    EXPECT_EQ(Parsed({}).options.input, "-");
    EXPECT_EQ(Parsed({"-"}).options.input, "-");
    EXPECT_EQ(Parsed({"a.ts"}).options.input, "a.ts");
    EXPECT_EQ(Parsed({"udp://239.1.1.1:5000"}).options.input, "udp://239.1.1.1:5000");
    EXPECT_EQ(Parsed({}).result, request::run);
}

TEST(TablesCommandLine, TakesFiltersAsOftenAsTheyCome)
{
    const Parsed parsed(
        {"--pid", "0x12", "--pid=17", "--table-id", "0x4E", "--table", "nit actual", "--table", "PMT", "a.ts"});
    EXPECT_EQ(parsed.result, request::run) << parsed.text;
    EXPECT_THAT(parsed.options.filter.PIDs, ElementsAre(0x0012, 17));
    EXPECT_THAT(parsed.options.filter.table_ids, ElementsAre(0x4E));
    EXPECT_THAT(parsed.options.filter.names, ElementsAre("nit actual", "PMT"));
    EXPECT_EQ(parsed.options.input, "a.ts");
}

TEST(TablesCommandLine, TakesACountryAndARegionForLocalTime)
{
    const Parsed country({"--local-time", "deu"});
    EXPECT_EQ(country.result, request::run) << country.text;
    EXPECT_EQ(country.options.print.local_time.country_code, "deu");
    EXPECT_EQ(country.options.print.local_time.country_region_id, 0U);
    const Parsed region({"--local-time=ESP:2"});
    EXPECT_EQ(region.options.print.local_time.country_code, "ESP");
    EXPECT_EQ(region.options.print.local_time.country_region_id, 2U);
}

TEST(TablesCommandLine, RefusesWhatItDoesNotKnow)
{
    const std::vector<std::vector<std::string>> wrong{{"--what"},
                                                      {"a.ts", "b.ts"},
                                                      {"--pid", "8192"},
                                                      {"--local-time", "DE"},
                                                      {"--local-time", "ESP:61"},
                                                      {"--local-time", "ESP:"},
                                                      {"--local-time", "ESP", "--services"},
                                                      {"--charset", "none"},
                                                      {"--json", "--sections"},
                                                      {"--once", "--all"},
                                                      {"--pid", "x"},
                                                      {"--pid"},
                                                      {"--table-id", "256"},
                                                      {"--table", "nothing"},
                                                      {"udp://239.1.1.1"},
                                                      {"udp://a:0"},
                                                      {"--table", ""},
                                                      {"--pid", "0x"},
                                                      {"--pid", "-1"},
                                                      {"udp://1.2.3.4:65536"}};
    for (const auto& arguments : wrong) {
        const Parsed parsed(arguments);
        EXPECT_EQ(parsed.result, request::refuse) << testing::PrintToString(arguments);
        EXPECT_FALSE(parsed.text.empty());
    }
}

TEST(TablesCommandLine, PrintsHelpAndVersion)
{
    const Parsed help({"--help"});
    EXPECT_EQ(help.result, request::print);
    EXPECT_THAT(help.text, HasSubstr("Usage: zq-tables [OPTIONS]"));
    const Parsed version({"--version"});
    EXPECT_EQ(version.result, request::print);
    EXPECT_EQ(version.text, "zq-tables 1.2.3\n");
}

TEST(TableFilter, TakesAllUnlessAKindIsNamed)
{
    EXPECT_TRUE(tables::table_filter().wants(0x1234, 0x99));
    const tables::table_filter both{{0x10}, {0x40, 0x41}, {}};
    EXPECT_TRUE(both.wants(0x10, 0x41));
    EXPECT_FALSE(both.wants(0x10, 0x42));
    EXPECT_FALSE(both.wants(0x11, 0x41));
}

TEST(TableFilter, KnowsTablesByTheWordsThatTheirNamesBeginWith)
{
    const auto wants = [](const std::string& name, std::uint8_t table_id) {
        return tables::table_filter{{}, {}, {name}}.wants(0, table_id);
    };
    EXPECT_TRUE(wants("nit", 0x40));
    EXPECT_TRUE(wants("NIT", 0x41));
    EXPECT_FALSE(wants("NIT actual", 0x41));
    EXPECT_TRUE(wants("EIT schedule", 0x5A));
    EXPECT_FALSE(wants("EIT schedule", 0x4E));
    EXPECT_FALSE(wants("T", 0x70));
    EXPECT_FALSE(wants("PAT", 0x43));
}

TEST(UDPAddress, IsAGroupAndAPortAndPerhapsASource)
{
    const auto settings = tools::parse_udp_address("udp://192.0.2.1@232.1.2.3:5000");
    ASSERT_TRUE(settings);
    EXPECT_THAT(settings->sources, ElementsAre("192.0.2.1"));
    EXPECT_EQ(settings->address, "232.1.2.3");
    EXPECT_EQ(settings->port, 5000);
    EXPECT_THAT(tools::parse_udp_address("udp://@239.0.0.1:1")->sources, ElementsAre());
    EXPECT_EQ(tools::parse_udp_address("udp://:1234")->address, "");
    EXPECT_EQ(tools::parse_udp_address("udp://[ff15::1]:1234")->address, "ff15::1");
    EXPECT_THAT(tools::parse_udp_address("udp://[2001:db8::1]@[ff35::1]:1")->sources, ElementsAre("2001:db8::1"));
    for (const char* wrong : {"udp://", "udp://239.0.0.1", "udp://239.0.0.1:", "udp://a:b", "udp:/1:2", "239.0.0.1:5"})
        EXPECT_FALSE(tools::parse_udp_address(wrong)) << wrong;
}
} // namespace tables_command_line_test
