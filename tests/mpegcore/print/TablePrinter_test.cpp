// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/TablePrinter.h"

#include "mpegcore/SDT.h"
#include "mpegcore/descriptors/DescriptorRegistry.h"
#include "support/OwnDescriptors.h"
#include "support/Tables.h"

#include <gmock/gmock.h>

namespace TablePrinter_test
{
using namespace mpegcore;
using namespace zqtest;
using ::testing::HasSubstr;
using ::testing::Not;

template <class Table>
class Read : public Roomy<Table>
{
public:
    explicit Read(const Bytes& section) { EXPECT_TRUE(read(static_cast<Table&>(*this), section)); }
};

base_descriptor generic(std::uint8_t tag, const Bytes& body)
{
    base_descriptor d;
    d.descriptor_tag = tag;
    d.descriptor_length = static_cast<std::uint8_t>(body.size());
    if (!body.empty())
        d.payload.alloc(body.size(), 8);
    std::copy(body.begin(), body.end(), d.payload.data());
    return d;
}

network_name_descriptor network_name(const Bytes& name)
{
    network_name_descriptor d;
    std::copy(name.begin(), name.end(), d.network_name.begin());
    d.descriptor_length = static_cast<std::uint8_t>(name.size());
    return d;
}

TEST(TablePrinter, PrintsAPATAsJson)
{
    Read<CPAT> pat(section_of(0x00, {0x12, 0x34, 0xC7, 0x00, 0x01, 0x00, 0x00, 0xE0, 0x10, 0x00, 0x07, 0xE1, 0x00}));
    const std::string crc = std::to_string(pat.CRC_32);
    EXPECT_EQ(to_json(pat),
              R"({"table_id":0,"table_id_name":"PAT","section_syntax_indicator":1,)"
              R"("private_indicator":0,"reserved":3,"section_length":17,)"
              R"("transport_stream_id":4660,"reserved2":3,"version_number":3,"current_next_indicator":1,)"
              R"("section_number":0,"last_section_number":1,"programs":[)"
              R"({"program_number":0,"reserved":7,"PID":16},{"program_number":7,"reserved":7,"PID":256}],)"
              R"("CRC_32":)" +
                  crc + "}");
}

TEST(TablePrinter, PrintsLoopsAndDescriptorsAsArraysOfObjects)
{
    const Bytes service = Bytes{0x48, 0x08, 0x01, 0x02, 'O', 'R', 0x03, 'O', 'n', 'e'};
    Read<CSDT> sdt(
        section_of(0x42, Bytes{0x00, 0x05, 0xC1, 0x00, 0x00, 0x00, 0x07, 0xFF, 0x00, 0x09, 0xFD, 0x80, 0x0E} + service +
                             Bytes{0xF0, 0x02, 0xCA, 0xFE}));
    EXPECT_EQ(
        to_json(sdt),
        R"({"table_id":66,"table_id_name":"SDT actual","section_syntax_indicator":1,"private_indicator":0,)"
        R"("reserved":3,"section_length":31,"transport_stream_id":5,"reserved2":3,"version_number":0,)"
        R"("current_next_indicator":1,"section_number":0,"last_section_number":0,"original_network_id":7,)"
        R"("reserved_future_use":255,"services":[{"service_id":9,"reserved_future_use":63,)"
        R"("EIT_schedule_flag":0,"EIT_present_following_flag":1,"running_status":4,)"
        R"("running_status_name":"running","free_CA_mode":0,"free_CA_mode_name":"not scrambled","descriptors_loop_length":14,"descriptors":[)"
        R"({"descriptor_tag":72,"descriptor_tag_name":"service_descriptor","descriptor_length":8,)"
        R"("service_type":1,"service_type_name":"digital television","service_provider_name_length":2,)"
        R"("service_provider_name":"OR","service_name_length":3,"service_name":"One"},)"
        R"({"descriptor_tag":240,"descriptor_length":2,"payload":"cafe"}]}],"CRC_32":)" +
            std::to_string(sdt.CRC_32) + "}");
}

TEST(TablePrinter, PrintsOneFieldALineAsText)
{
    const Bytes service = Bytes{0x48, 0x08, 0x01, 0x02, 'O', 'R', 0x03, 'O', 'n', 'e'};
    Read<CSDT> sdt(
        section_of(0x42, Bytes{0x00, 0x05, 0xC1, 0x00, 0x00, 0x00, 0x07, 0xFF, 0x00, 0x09, 0xFD, 0x80, 0x0A} + service +
                             Bytes{0x00, 0x0A, 0xFC, 0x20, 0x00}));
    sdt.CRC_32 = 0x1234ABCD;
    EXPECT_EQ(to_text(sdt), "table_id: 66 (0x42) SDT actual\n"
                            "section_syntax_indicator: 1\n"
                            "private_indicator: 0\n"
                            "section_length: 32 (0x020)\n"
                            "transport_stream_id: 5 (0x0005)\n"
                            "version_number: 0 (0x00)\n"
                            "current_next_indicator: 1\n"
                            "section_number: 0 (0x00)\n"
                            "last_section_number: 0 (0x00)\n"
                            "original_network_id: 7 (0x0007)\n"
                            "services:\n"
                            "  - service_id: 9 (0x0009)\n"
                            "    EIT_schedule_flag: 0\n"
                            "    EIT_present_following_flag: 1\n"
                            "    running_status: 4 running\n"
                            "    free_CA_mode: 0 not scrambled\n"
                            "    descriptors_loop_length: 10 (0x00a)\n"
                            "    descriptors:\n"
                            "      - descriptor_tag: 72 (0x48) service_descriptor\n"
                            "        descriptor_length: 8 (0x08)\n"
                            "        service_type: 1 (0x01) digital television\n"
                            "        service_provider_name_length: 2 (0x02)\n"
                            "        service_provider_name: \"OR\"\n"
                            "        service_name_length: 3 (0x03)\n"
                            "        service_name: \"One\"\n"
                            "  - service_id: 10 (0x000a)\n"
                            "    EIT_schedule_flag: 0\n"
                            "    EIT_present_following_flag: 0\n"
                            "    running_status: 1 not running\n"
                            "    free_CA_mode: 0 not scrambled\n"
                            "    descriptors_loop_length: 0 (0x000)\n"
                            "    descriptors:\n"
                            "CRC_32: 305441741 (0x1234abcd)\n");
}

TEST(TablePrinter, PrintsTimesByISO8601)
{
    CTDT tdt(0xC079124500, nullptr, 8);
    EXPECT_THAT(to_json(tdt), HasSubstr(R"("UTC_time":"1993-10-13T12:45:00Z"})"));
    EXPECT_THAT(to_text(tdt), HasSubstr("UTC_time: 1993-10-13T12:45:00Z\n"));
}

TEST(TablePrinter, PrintsTheBitsOfATimeThatIsUndefined)
{
    CTDT tdt(0xFFFFFFFFFF, nullptr, 8);
    EXPECT_THAT(to_json(tdt), HasSubstr(R"("UTC_time":null,"UTC_time_raw":"ffffffffff"})"));
    EXPECT_THAT(to_text(tdt), HasSubstr("UTC_time: undefined (0xffffffffff)\n"));
}

TEST(TablePrinter, PrintsTimesInTheLocalTimeThatIsAskedForAndKnown)
{
    const auto offsets = std::make_shared<local_time_offset_descriptor>();
    const auto entry = std::make_shared<local_time_offset_descriptor::local_time_offset_entry>();
    entry->country_code = {'D', 'E', 'U'};
    entry->local_time_offset = 0x0100;
    entry->time_of_change = 0xFFFF000000;
    offsets->entries.push_back(entry);
    PrintOptions options;
    options.local_time = {"deu", 0, offsets};
    CTDT tdt(0xC079124500, nullptr, 8);
    EXPECT_THAT(to_json(tdt, options), HasSubstr(R"("UTC_time":"1993-10-13T13:45:00+01:00"})"));
    EXPECT_THAT(to_text(tdt, options), HasSubstr("UTC_time: 1993-10-13T13:45:00+01:00\n"));
    options.local_time.country_code = "FRA";
    EXPECT_THAT(to_json(tdt, options), HasSubstr(R"("UTC_time":"1993-10-13T12:45:00Z"})"));
    options.local_time = {"DEU", 0, nullptr};
    EXPECT_THAT(to_json(tdt, options), HasSubstr(R"("UTC_time":"1993-10-13T12:45:00Z"})"));
}

TEST(TablePrinter, PrintsDurationsByISO8601AndTheBitsOfOneThatIsNone)
{
    Roomy<CEIT> eit;
    for (const std::uint32_t duration : {0x013000U, 0x0A0000U}) {
        auto event = std::make_shared<CEventInfo>();
        event->duration = duration;
        eit.events.push_back(event);
    }
    EXPECT_THAT(to_json(eit), HasSubstr(R"("duration":"PT1H30M","running_status")"));
    EXPECT_THAT(to_json(eit), HasSubstr(R"("duration":null,"duration_raw":"0a0000","running_status")"));
    EXPECT_THAT(to_text(eit), HasSubstr("duration: PT1H30M\n"));
    EXPECT_THAT(to_text(eit), HasSubstr("duration: undefined (0x0a0000)\n"));
}

TEST(TablePrinter, PrintsTheBytesOfATextThatIsOtherThanTransmitted)
{
    EXPECT_EQ(to_json(network_name({0x05, 'N', 0xFC, 'r'})),
              R"({"descriptor_tag":64,"descriptor_tag_name":"network_name_descriptor","descriptor_length":4,)"
              "\"network_name\":\"N\u00FCr\",\"network_name_raw\":\"054efc72\"}");
    EXPECT_THAT(to_json(network_name({'N', 'D', 'R'})), HasSubstr(R"("network_name":"NDR"})"));
}

TEST(TablePrinter, TakesTheTableOfUnmarkedTextsFromItsOptions)
{
    PrintOptions options;
    options.unmarked = TextTable::iso_8859_5;
    EXPECT_THAT(to_json(network_name({0xC0}), options), HasSubstr("\"network_name\":\"\u0420\""));
    EXPECT_THAT(to_text(network_name({0xC0}), options), HasSubstr("network_name: \"\u0420\"\n"));
}

TEST(TablePrinter, EscapesWhatWouldEndAString)
{
    EXPECT_THAT(to_json(network_name({'"', '\\', 0x8A, '/'})), HasSubstr(R"("network_name":"\"\\\n/")"));
    EXPECT_THAT(to_text(network_name({'"', '\\', 0x8A, '/'})), HasSubstr(R"(network_name: "\"\\\n/")"));
}

TEST(TablePrinter, PrintsCodesAsStrings)
{
    ISO_639_language_descriptor d;
    d.entries = {{{'d', 'e', 'u'}, 3}, {{0xE4, 0x00, '"'}, 0}};
    d.descriptor_length = 8;
    EXPECT_THAT(to_json(d), HasSubstr(R"({"ISO_639_language_code":"deu","audio_type":3,)"));
    EXPECT_THAT(to_json(d), HasSubstr("{\"ISO_639_language_code\":\"\u00E4\uFFFD\\\"\","));
}

TEST(TablePrinter, KeepsNumbersExactBeyondWhatADoubleHolds)
{
    EXPECT_THAT(to_json(Wide()), HasSubstr(R"("wide":18446744073709551614})"));
}

TEST(TablePrinter, NumbersNamesThatRepeatInOneRecord)
{
    EXPECT_THAT(to_json(Repeating()), HasSubstr(R"("reserved2":1,"reserved":1,"reserved3":1,"reserved4":1})"));
}

TEST(TablePrinter, PrintsOneNestedRecordAsAnObject)
{
    EXPECT_THAT(to_json(Nesting()), HasSubstr(R"("inner":{"field":7},"field":8})"));
    EXPECT_THAT(to_text(Nesting()), HasSubstr("inner:\n  field: 7\nfield: 8 (0x08)\n"));
}

TEST(TablePrinter, PrintsAnEmptyDescriptor)
{
    EXPECT_EQ(to_json(generic(0xF0, {})), R"({"descriptor_tag":240,"descriptor_length":0,"payload":""})");
    EXPECT_EQ(to_text(generic(0xF0, {})), "descriptor_tag: 240 (0xf0)\ndescriptor_length: 0 (0x00)\npayload:\n");
}

TEST(TablePrinter, PrintsOnlyTheFieldsThatADescriptorHas)
{
    video_stream_descriptor d;
    EXPECT_THAT(to_json(d), HasSubstr("chroma_format"));
    d.MPEG_1_only_flag = 1;
    EXPECT_THAT(to_json(d), Not(HasSubstr("chroma_format")));
}
} // namespace TablePrinter_test
