// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/zqdescriptorlist.h"
#include "support/application_fills.h"
#include "support/standard_dvb_fills.h"
#include "support/standard_extension_fills.h"
#include "support/standard_mpeg_fills.h"

#include <algorithm>
#include <memory>
#include <string_view>

namespace zqtest
{
/// Copies `text` to the front of a byte array and returns its length.
template <class Storage>
std::uint8_t put_text(Storage& storage, std::string_view text)
{
    std::copy(text.begin(), text.end(), storage.begin());
    return static_cast<std::uint8_t>(text.size());
}

// A class that joins descriptor_classes supplies a `fill` here; without one the tests do not compile.
// Each fill builds a descriptor whose stored lengths and counts agree with its fields, no two neighbours being equal.

inline void fill(mpegcore::CA_descriptor& d)
{
    d.CA_system_ID = 0x1833;
    d.reserved = 5;
    d.CA_PID = 0x1ABC;
    d.descriptor_length = 4 + put_text(d.private_data_byte, "private");
}

inline void fill(mpegcore::ISO_639_language_descriptor& d)
{
    d.entries = {{{'d', 'e', 'u'}, 1}, {{'q', 'a', 'a'}, 2}, {{'f', 'r', 'a'}, 0x80}};
    d.descriptor_length = 12;
}

inline void fill(mpegcore::STD_descriptor& d)
{
    d.reserved = 0x55;
    d.leak_valid_flag = 1;
    d.descriptor_length = 1;
}

inline void fill(mpegcore::T2_delivery_system_descriptor& d)
{
    d.descriptor_tag_extension = 4;
    d.plp_id = 7;
    d.T2_system_id = 0xBEEF;
    d.SISO_MISO = 2;
    d.bandwidth = 9;
    d.reserved_future_use = 1;
    d.guard_interval = 5;
    d.transmission_mode = 6;
    d.other_frequency_flag = 1;
    d.tfs_flag = 0;
    d.descriptor_length = 6;
}

inline void fill(mpegcore::VBI_data_descriptor& d)
{
    d.entries = {{1, 2, {0xC1, 0xC2}}, {2, 0, {}}, {7, 3, {1, 2, 3}}};
    d.descriptor_length = 11;
}

inline void fill(mpegcore::ac3_descriptor& d)
{
    d.component_type_flag = d.bsid_flag = d.mainid_flag = d.asvc_flag = 1;
    d.reserved = 10;
    d.component_type = 0x42;
    d.bsid = 8;
    d.mainid = 3;
    d.asvc = 0x81;
    d.additional_info = {9, 8, 7};
    d.descriptor_length = 8;
}

inline void fill(mpegcore::audio_stream_descriptor& d)
{
    d.free_format_flag = 1;
    d.ID = 0;
    d.layer = 3;
    d.variable_rate_audio_indicator = 0;
    d.reserved = 5;
    d.descriptor_length = 1;
}

inline void fill(mpegcore::avail_descriptor& d)
{
    d.identifier = 0x43554549;
    d.provider_avail_id = 0x89ABCDEF;
    d.descriptor_length = 8;
}

inline void fill(mpegcore::bouquet_name_descriptor& d)
{
    d.bouquet_name = {0x05, 'B', 'o', 'u', 'q', 'u', 'e', 't', ' ', '1'};
    d.descriptor_length = 10;
}

inline void fill(mpegcore::cue_identifier_descriptor& d)
{
    d.cue_stream_type = 0xC3;
    d.descriptor_length = 1;
}

inline void fill(mpegcore::extended_event_descriptor& d)
{
    d.descriptor_number = 2;
    d.last_descriptor_number = 13;
    d.ISO_639_language_code = {'n', 'o', 'r'};
    d.items = {{2, {'A', 'b'}, 1, {'c'}}, {0, {}, 0, {}}, {1, {'d'}, 3, {'E', 'f', 'g'}}};
    d.length_of_items = 13;
    d.text_char = {'t', 'e', 'x', 't'};
    d.text_length = 4;
    d.descriptor_length = 1 + 3 + 1 + 13 + 1 + 4;
}

inline void fill(mpegcore::extension_descriptor& d)
{
    d.descriptor_tag_extension = 0x06;
    d.selector_byte = {0xFE, 0x01, 0x80};
    d.descriptor_length = 4;
}

inline void fill(mpegcore::local_time_offset_descriptor& d)
{
    using entry = mpegcore::local_time_offset_descriptor::local_time_offset_entry;
    d.entries = {std::make_shared<entry>(entry{{'G', 'B', 'R'}, 0x2A, 1, 0, 0x0130, 0xC079124559, 0x0230}),
                 std::make_shared<entry>(entry{{'B', 'R', 'A'}, 0x15, 0, 1, 0x0300, 0xFFFF235959, 0x0200})};
    d.descriptor_length = 26;
}

inline void fill(mpegcore::logical_channel_descriptor& d)
{
    d.entries = {{0x1234, 1, 0x0A, 0x2AA}, {0x00FF, 0, 0x15, 0x155}};
    d.descriptor_length = 8;
}

inline void fill(mpegcore::multiplex_buffer_utilization_descriptor& d)
{
    d.bound_valid_flag = 1;
    d.LTW_offset_lower_bound = 0x5555;
    d.reserved = 1;
    d.LTW_offset_upper_bound = 0x2AAA;
    d.descriptor_length = 4;
}

inline void fill(mpegcore::network_name_descriptor& d) { d.descriptor_length = put_text(d.network_name, "Network 7"); }

inline void fill(mpegcore::parental_rating_descriptor& d)
{
    d.entries = {{{'D', 'E', 'U'}, 9}, {{'A', 'U', 'T'}, 13}};
    d.descriptor_length = 8;
}

inline void fill(mpegcore::scte35_dtmf_descriptor& d)
{
    d.identifier = 0x43554549;
    d.preroll = 0x51;
    d.dtmf_count = 7;
    d.reserved = 0x0A;
    d.DTMF_char = {'1', '2', '3', '*', '#', '0', '9'};
    d.descriptor_length = 13;
}

inline void fill(mpegcore::scte35_segmentation_descriptor& d)
{
    d.identifier = 0x43554549;
    d.segmentation_event_id = 0x76543210;
    d.reserved = 0x2A;
    d.segmentation_duration_flag = 1;
    d.web_delivery_allowed_flag = 1;
    d.archive_allowed_flag = 1;
    d.device_restrictions = 2;
    d.component_count = 2;
    d.components = {{1, 0x55, 0x1FFFFFFFE}, {2, 0x2A, 0x000000001}};
    d.segmentation_duration = 0xFEDCBA9876;
    d.segmentation_upid_type = 0x0C;
    d.segmentation_upid = {1, 2, 3, 4, 5};
    d.segmentation_upid_length = 5;
    d.segmentation_type_id = 0x36;
    d.segment_num = 3;
    d.segments_expected = 4;
    d.sub_segment_num = 5;
    d.sub_segments_expected = 6;
    d.descriptor_length = 4 + 4 + 1 + 1 + 1 + 2 * 6 + 5 + 2 + 5 + 5;
}

inline void fill(mpegcore::scte35_time_descriptor& d)
{
    d.identifier = 0x43554549;
    d.TAI_seconds = 0x8123456789AB;
    d.TAI_ns = 999999999;
    d.UTC_offset = 37;
    d.descriptor_length = 16;
}

inline void fill(mpegcore::scte35_audio_descriptor& d)
{
    d.identifier = 0x43554549;
    d.audio_count = 2;
    d.reserved = 0x0A;
    d.components = {{0x21, {'e', 'n', 'g'}, 5, 2, 1}, {0x22, {'s', 'p', 'a'}, 3, 12, 0}};
    d.descriptor_length = 4 + 1 + 2 * 5;
}

inline void fill(mpegcore::service_descriptor& d)
{
    d.service_type = 0x1F;
    d.service_provider_name_length = put_text(d.service_provider_name, "Provider");
    d.service_name_length = put_text(d.service_name, "\x10 Service name");
    d.descriptor_length = 3 + d.service_provider_name_length + d.service_name_length;
}

inline void fill(mpegcore::service_list_descriptor& d)
{
    d.entries = {{0x0102, 1}, {0xFFFE, 0x16}, {3, 2}};
    d.descriptor_length = 9;
}

inline void fill(mpegcore::short_event_descriptor& d)
{
    d.ISO_639_language_code = {'c', 'e', 's'};
    d.event_name_length = put_text(d.event_name_char, "Evening news");
    d.text_length = put_text(d.text_char, "of the day");
    d.descriptor_length = 5 + d.event_name_length + d.text_length;
}

inline void fill(mpegcore::smoothing_buffer_descriptor& d)
{
    d.reserved = 2;
    d.sb_leak_rate = 0x2AAAAA;
    d.reserved2 = 1;
    d.sb_size = 0x155555;
    d.descriptor_length = 6;
}

inline void fill(mpegcore::stream_identifier_descriptor& d)
{
    d.component_tag = 0x9C;
    d.descriptor_length = 1;
}

inline void fill(mpegcore::subtitling_descriptor& d)
{
    d.entries = {{{'d', 'a', 'n'}, 0x14, 0x0102, 0x0304}, {{'f', 'i', 'n'}, 0x24, 0xFFFF, 0x8000}};
    d.descriptor_length = 16;
}

inline void fill(mpegcore::teletext_descriptor& d)
{
    d.entries = {{{'s', 'w', 'e'}, 0x15, 2, 0x99}, {{'i', 's', 'l'}, 0x0A, 5, 0x01}};
    d.descriptor_length = 10;
}

inline void fill(mpegcore::video_stream_descriptor& d)
{
    d.multiple_frame_rate_flag = 1;
    d.frame_rate_code = 10;
    d.constrained_parameter_flag = 1;
    d.profile_and_level_indication = 0x85;
    d.chroma_format = 2;
    d.frame_rate_extension_flag = 1;
    d.reserved = 0x15;
    d.descriptor_length = 3;
}
} // namespace zqtest
