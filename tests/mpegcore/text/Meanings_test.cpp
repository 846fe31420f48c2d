// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"
#include "mpegcore/text/Meanings.h"

#include <gtest/gtest.h>

namespace Meanings_test
{
using namespace mpegcore;

TEST(Meanings, OfTheL1SignallingOfDvbT2)
{
    EXPECT_EQ(meaning_of("PLP_TYPE", 0), "common");
    EXPECT_EQ(meaning_of("PLP_PAYLOAD_TYPE", 3), "TS");
    EXPECT_EQ(meaning_of("PLP_COD", 1), "3/5");
    EXPECT_EQ(meaning_of("PLP_COD", 7), "2/5");
    EXPECT_EQ(meaning_of("PLP_MOD", 3), "256-QAM");
    EXPECT_EQ(meaning_of("PLP_FEC_TYPE", 1), "64K LDPC");
    EXPECT_EQ(meaning_of("PLP_MODE", 0), "");
    EXPECT_EQ(meaning_of("PLP_MODE", 2), "high efficiency");
    EXPECT_EQ(meaning_of("GUARD_INTERVAL", 6), "19/256");
    EXPECT_EQ(meaning_of("PILOT_PATTERN", 7), "PP8");
    EXPECT_EQ(meaning_of("S1", 3), "T2-Lite SISO");
    EXPECT_EQ(meaning_of("bw", 0), "1.7 MHz");
}

TEST(Meanings, AreFoundByTheFieldsNameAndTheValue)
{
    EXPECT_EQ(meaning_of("table_id", 0x00), "PAT");
    EXPECT_EQ(meaning_of("table_id", 0x5A), "EIT schedule actual");
    EXPECT_EQ(meaning_of("table_id", 0xFC), "splice information");
    EXPECT_EQ(meaning_of("stream_type", 0x1B), "AVC video");
    EXPECT_EQ(meaning_of("service_type", 0x19), "AVC HD television");
    EXPECT_EQ(meaning_of("running_status", 4), "running");
    EXPECT_EQ(meaning_of("linkage_type", 0x0D), "event linkage");
    EXPECT_EQ(meaning_of("data_broadcast_id", 0x0123), "HbbTV carousel");
    EXPECT_EQ(meaning_of("teletext_type", 2), "teletext subtitle page");
    EXPECT_EQ(meaning_of("FEC_inner", 0xF), "none");
    EXPECT_EQ(meaning_of("Time_Slicing_indicator", 1), meaning_of("MPE-FEC_indicator", 1));
    EXPECT_EQ(meaning_of("Time_Slicing_indicator", 0), "used");
    EXPECT_EQ(meaning_of("polarization", 1), "linear, vertical");
    EXPECT_EQ(meaning_of("rating", 0x0F), "minimum age 18 years");
    EXPECT_EQ(meaning_of("CA_system_id", 0x0B02), "Conax");
    EXPECT_EQ(meaning_of("format_identifier", 0x43554549), "SCTE 35");
    EXPECT_EQ(meaning_of("application_control_code", 1), "AUTOSTART");
    EXPECT_EQ(meaning_of("splice_command_type", 5), "splice_insert");
    EXPECT_EQ(meaning_of("segmentation_type_id", 0x35), "provider placement opportunity end");
    EXPECT_EQ(meaning_of("segmentation_upid_type", 0x0C), "MPU");
}

TEST(Meanings, AreEmptyForPlainNumbersAndForReservedValues)
{
    EXPECT_EQ(meaning_of("section_number", 1), "");
    EXPECT_EQ(meaning_of("", 1), "");
    EXPECT_EQ(meaning_of("table_id", 0x43), "");
    EXPECT_EQ(meaning_of("table_id", 0xFF), "");
    EXPECT_EQ(meaning_of("running_status", 7), "");
    EXPECT_EQ(meaning_of("stream_type", 0x100), "");
    EXPECT_EQ(meaning_of("stream_type", std::uint64_t{1} << 32 | 2), "") << "no bit is lost on the way";
}

TEST(Meanings, TakeHyphenSlashAndUnderscoreForOneAnother)
{
    EXPECT_EQ(meaning_of("MPE-FEC_indicator", 0), "used");
    EXPECT_EQ(meaning_of("MPE_FEC_indicator", 0), "used");
    EXPECT_EQ(meaning_of("SISO_MISO", 1), "MISO");
    EXPECT_EQ(meaning_of("SISO/MISO", 1), "MISO");
    EXPECT_EQ(meaning_of("component_type", 0x42, "enhanced_AC_3_descriptor"),
              "AC-3 audio, full service, complete main, stereo");
}

TEST(Meanings, AreThoseOfTheStructureThatHoldsTheField)
{
    EXPECT_EQ(meaning_of("guard_interval", 0), "1/32");
    EXPECT_EQ(meaning_of("guard_interval", 5, "T2_delivery_system_descriptor"), "19/128");
    EXPECT_EQ(meaning_of("guard_interval", 0, "C2_delivery_system_descriptor"), "1/128");
    EXPECT_EQ(meaning_of("transmission_mode", 5, "T2_delivery_system_descriptor"), "32k");
    EXPECT_EQ(meaning_of("transmission_mode", 2, "terrestrial_delivery_system_descriptor"), "4k");
    EXPECT_EQ(meaning_of("priority", 1, "terrestrial_delivery_system_descriptor"), "high");
    EXPECT_EQ(meaning_of("priority", 1), "");
    EXPECT_EQ(meaning_of("descriptor_tag", 0x02), "video_stream_descriptor");
    EXPECT_EQ(meaning_of("descriptor_tag", 0x02, "application_information_section"), "transport_protocol_descriptor");
    EXPECT_EQ(meaning_of("descriptor_tag", 0x02, "splice_info_section"), "segmentation_descriptor");
}

TEST(Meanings, OfContentHangOnTheFirstNibble)
{
    EXPECT_EQ(meaning_of("content_nibble_level_1", 2), "news/current affairs");
    EXPECT_EQ(meaning_of("content_nibble_level_2", 1, {}, 2), "news/weather report");
    EXPECT_EQ(meaning_of("content_nibble_level_2", 0, {}, 4), "sports (general)");
    EXPECT_EQ(meaning_of("content_nibble_level_2", 0, {}, 0xB), "original language");
    EXPECT_EQ(meaning_of("content_nibble_level_2", 0xE, {}, 4), "");
}

TEST(Meanings, OfComponentsHangOnTheStreamContentAndItsExtension)
{
    EXPECT_EQ(meaning_of("component_type", 0x03, "component_descriptor", 0xF1), "MPEG-2 video, 16:9, 25 Hz");
    EXPECT_EQ(meaning_of("component_type", 0x03, "component_descriptor", 0x01), "MPEG-2 video, 16:9, 25 Hz");
    EXPECT_EQ(meaning_of("component_type", 0x0B, "component_descriptor", 0xF5), "AVC video, HD, 16:9, 25 Hz");
    EXPECT_EQ(meaning_of("component_type", 0x04, "component_descriptor", 0x09), "HEVC video, UHD");
    EXPECT_EQ(meaning_of("component_type", 0x02, "component_descriptor", 0x19), "AC-4 audio, main, stereo");
    EXPECT_EQ(meaning_of("component_type", 0x09, "component_descriptor", 0xFB), "PQ10");
    EXPECT_EQ(meaning_of("subtitling_type", 0x24), "DVB subtitles for the hard of hearing, HD");
    EXPECT_EQ(meaning_of("AAC_type", 0x03), "HE-AAC audio, stereo");
}

TEST(Meanings, OfAc3AreReadFromTheBits)
{
    const auto of_ac_3 = [](std::uint64_t type) { return meaning_of("component_type", type, "AC-3_descriptor"); };
    EXPECT_EQ(of_ac_3(0x00), "AC-3 audio, complete main, mono");
    EXPECT_EQ(of_ac_3(0xC2), "E-AC-3 audio, full service, complete main, stereo");
    EXPECT_EQ(of_ac_3(0x52), "AC-3 audio, full service, visually impaired, stereo");
    EXPECT_EQ(of_ac_3(0x7C), "AC-3 audio, full service, karaoke, multichannel");
    EXPECT_EQ(of_ac_3(0x3C), "AC-3 audio, voice over, multichannel");
    EXPECT_EQ(of_ac_3(0x45), "") << "more than 5.1 channels are not for AC-3";
    EXPECT_EQ(of_ac_3(0xC5), "E-AC-3 audio, full service, complete main, more than 5.1 channels");
    EXPECT_EQ(of_ac_3(0xC7), "");
    EXPECT_EQ(meaning_of("component_type", 0xC2, "component_descriptor", 0xF4), of_ac_3(0xC2));
}

TEST(Meanings, InStreamOrderNeedNoQualifiers)
{
    FieldMeanings fields;
    fields.enter("content_descriptor");
    EXPECT_EQ(fields.next("content_nibble_level_1", 4), "sports");
    EXPECT_EQ(fields.next("content_nibble_level_2", 3), "football/soccer");
    EXPECT_EQ(fields.next("content_nibble_level_1", 6), "music/ballet/dance");
    EXPECT_EQ(fields.next("content_nibble_level_2", 4), "jazz");
    fields.enter("component_descriptor");
    EXPECT_EQ(fields.next("stream_content_ext", 0xF), "");
    EXPECT_EQ(fields.next("stream_content", 5), "AVC video");
    EXPECT_EQ(fields.next("component_type", 0x0B), "AVC video, HD, 16:9, 25 Hz");
    fields.enter("AC-3_descriptor");
    EXPECT_EQ(fields.next("component_type", 0x42), "AC-3 audio, full service, complete main, stereo");
}

TEST(Meanings, NameDescriptorsByTheirTagsAndExtensions)
{
    EXPECT_EQ(descriptor_name(0x4D), "short_event_descriptor");
    EXPECT_EQ(descriptor_name(0x7F, 0x04), "T2_delivery_system_descriptor");
    EXPECT_EQ(descriptor_name(0x3F, 0x03), "HEVC_timing_and_HRD_descriptor");
    EXPECT_EQ(descriptor_name(0x7F, 0x7F), "extension_descriptor");
    EXPECT_EQ(descriptor_name(0x7F), "extension_descriptor");
    EXPECT_EQ(descriptor_name(0xFE), "");
}

TEST(Meanings, StandInTablesThatAscendAndDoNotOverlap)
{
    int tables = 0;
    MeaningIndex::instance().for_each([&tables](std::string_view field, const MeaningTable& table) {
        ++tables;
        ASSERT_GT(table.count, 0U) << field;
        for (std::size_t at = 0; at < table.count; ++at) {
            const auto& row = table.values[at];
            EXPECT_LE(row.first, row.last) << field << ' ' << row.meaning;
            EXPECT_FALSE(row.meaning.empty()) << field << ' ' << row.first;
            if (at > 0) {
                EXPECT_GT(row.first, table.values[at - 1].last) << field << ' ' << row.meaning;
            }
        }
    });
    EXPECT_GT(tables, 80);
}
} // namespace Meanings_test
