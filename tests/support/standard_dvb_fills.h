// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/zqdescriptorlist.h"

namespace zqtest
{
// The fills of descriptor_registry.h for the classes of ETSI EN 300 468 that only the standard dictionary has, by tag.

inline void fill(mpegcore::satellite_delivery_system_descriptor& d)
{
    d.frequency = 0x01172750;
    d.orbital_position = 0x0192;
    d.west_east_flag = 1;
    d.polarization = 2;
    d.roll_off = 1;
    d.modulation_system = 1;
    d.modulation_type = 2;
    d.symbol_rate = 0x0299000;
    d.FEC_inner = 9;
    d.descriptor_length = 11;
}

inline void fill(mpegcore::cable_delivery_system_descriptor& d)
{
    d.frequency = 0x03940000;
    d.reserved_future_use = 0xABC;
    d.FEC_outer = 2;
    d.modulation = 5;
    d.symbol_rate = 0x0069000;
    d.FEC_inner = 15;
    d.descriptor_length = 11;
}

inline void fill(mpegcore::linkage_descriptor& d)
{
    d.transport_stream_id = 0x0102;
    d.original_network_id = 0x0304;
    d.service_id = 0x0506;
    d.linkage_type = 0x0E;
    d.events = {{0x1111, 1, 0, 2, 0, 0, 0, 0, 0, 0, 0},
                {0x2222, 0, 1, 1, 1, 1, 1, 0, 0x0708, 0x090A, 0x0B0C},
                {0x3333, 1, 1, 0, 3, 1, 0, 0x0D0E, 0, 0, 0}};
    d.loop_length = 3 + 9 + 5;
    d.private_data_byte = {0xE1, 0xE2};
    d.descriptor_length = 7 + 1 + 17 + 2;
}

inline void fill(mpegcore::component_descriptor& d)
{
    d.stream_content_ext = 14;
    d.stream_content = 11;
    d.component_type = 0x0B;
    d.component_tag = 0x21;
    d.ISO_639_language_code = {'p', 'o', 'r'};
    d.text = {0x15, 'H', 'D'};
    d.descriptor_length = 9;
}

inline void fill(mpegcore::CA_identifier_descriptor& d)
{
    d.entries = {{0x0500}, {0x1833}};
    d.descriptor_length = 4;
}

inline void fill(mpegcore::content_descriptor& d)
{
    d.entries = {{1, 4, 0x88}, {11, 3, 0x01}};
    d.descriptor_length = 4;
}

inline void fill(mpegcore::terrestrial_delivery_system_descriptor& d)
{
    d.centre_frequency = 0x02DA3B40;
    d.bandwidth = 5;
    d.priority = 0;
    d.Time_Slicing_indicator = 1;
    d.MPE_FEC_indicator = 0;
    d.reserved_future_use = 2;
    d.constellation = 1;
    d.hierarchy_information = 6;
    d.code_rate_HP_stream = 3;
    d.code_rate_LP_stream = 5;
    d.guard_interval = 2;
    d.transmission_mode = 1;
    d.other_frequency_flag = 1;
    d.reserved_future_use2 = 0xFEDCBA98;
    d.descriptor_length = 11;
}

inline void fill(mpegcore::multilingual_network_name_descriptor& d)
{
    d.entries = {{{'d', 'e', 'u'}, 4, {'N', 'e', 't', 'z'}}, {{'g', 'l', 'e'}, 0, {}}, {{'c', 'y', 'm'}, 1, {'R'}}};
    d.descriptor_length = 17;
}

inline void fill(mpegcore::multilingual_bouquet_name_descriptor& d)
{
    d.entries = {{{'h', 'r', 'v'}, 2, {'B', 'u'}}, {{'s', 'l', 'k'}, 0, {}}, {{'s', 'q', 'i'}, 1, {'Q'}}};
    d.descriptor_length = 15;
}

inline void fill(mpegcore::multilingual_service_name_descriptor& d)
{
    d.entries = {{{'e', 's', 't'}, 2, {'P', 'r'}, 3, {'U', 'k', 's'}}, {{'l', 'a', 'v'}, 0, {}, 1, {'V'}}};
    d.descriptor_length = 16;
}

inline void fill(mpegcore::multilingual_component_descriptor& d)
{
    d.component_tag = 0x44;
    d.entries = {{{'m', 'l', 't'}, 3, {'A', 'b', 'c'}}, {{'r', 'o', 'n'}, 1, {'D'}}};
    d.descriptor_length = 1 + 7 + 5;
}

inline void fill(mpegcore::private_data_specifier_descriptor& d)
{
    d.private_data_specifier = 0x0000233A;
    d.descriptor_length = 4;
}

inline void fill(mpegcore::frequency_list_descriptor& d)
{
    d.reserved_future_use = 0x2A;
    d.coding_type = 3;
    d.entries = {{0x02F34400}, {0x03197500}};
    d.descriptor_length = 9;
}

inline void fill(mpegcore::partial_transport_stream_descriptor& d)
{
    d.DVB_reserved_future_use = 2;
    d.peak_rate = 0x2AAAAB;
    d.DVB_reserved_future_use2 = 1;
    d.minimum_overall_smoothing_rate = 0x155556;
    d.DVB_reserved_future_use3 = 3;
    d.maximum_overall_smoothing_buffer = 0x1BCD;
    d.descriptor_length = 8;
}

inline void fill(mpegcore::data_broadcast_descriptor& d)
{
    d.data_broadcast_id = 0x000B;
    d.component_tag = 0x33;
    d.selector = {1, 2, 3};
    d.selector_length = 3;
    d.ISO_639_language_code = {'h', 'u', 'n'};
    d.text = {'I', 'P'};
    d.text_length = 2;
    d.descriptor_length = 3 + 1 + 3 + 3 + 1 + 2;
}

inline void fill(mpegcore::data_broadcast_id_descriptor& d)
{
    d.data_broadcast_id = 0x0123;
    d.id_selector_byte = {0x00, 0x10};
    d.descriptor_length = 4;
}

inline void fill(mpegcore::cell_list_descriptor& d)
{
    d.cells = {{0x0001, 0x4E20, 0xFE0C, 0x123, 0x456, 16, {{1, 2, 3, 4, 5}, {6, 0x8001, 0x7FFF, 0xABC, 0xDEF}}},
               {0x0002, 0x8000, 0x0001, 0xFFF, 0x001, 0, {}}};
    d.descriptor_length = 10 + 16 + 10;
}

inline void fill(mpegcore::cell_frequency_link_descriptor& d)
{
    d.cells = {{0x0102, 0x02F34400, 10, {{1, 0x03197500}, {0xFE, 0x11223344}}}, {0x8003, 0xFFFFFFFE, 0, {}}};
    d.descriptor_length = 7 + 10 + 7;
}

inline void fill(mpegcore::application_signalling_descriptor& d)
{
    d.entries = {{0, 0x0010, 7, 3}, {1, 0x7FF1, 2, 0x15}};
    d.descriptor_length = 6;
}

inline void fill(mpegcore::default_authority_descriptor& d)
{
    d.default_authority_byte = {'t', 'v', '.', 'e', 'x'};
    d.descriptor_length = 5;
}

inline void fill(mpegcore::content_identifier_descriptor& d)
{
    d.entries = {{0x31, 0, 3, {'/', 'a', '1'}, 0}, {0x32, 1, 0, {}, 0xBEEF}, {0x3F, 2, 0, {}, 0}};
    d.descriptor_length = 5 + 3 + 1;
}

inline void fill(mpegcore::S2_satellite_delivery_system_descriptor& d)
{
    d.scrambling_sequence_selector = d.multiple_input_stream_flag = 1;
    d.reserved_zero_future_use = 0;
    d.not_timeslice_flag = 0;
    d.reserved_future_use = 3;
    d.TS_GS_mode = 2;
    d.reserved_future_use2 = 0x2A;
    d.scrambling_sequence_index = 0x2ABCD;
    d.input_stream_identifier = 0x77;
    d.timeslice_number = 0x88;
    d.descriptor_length = 6;
}

inline void fill(mpegcore::enhanced_AC_3_descriptor& d)
{
    d.component_type_flag = d.bsid_flag = d.mainid_flag = d.asvc_flag = 1;
    d.substream1_flag = d.substream2_flag = d.substream3_flag = 1;
    d.component_type = 0xC2;
    d.bsid = 16;
    d.mainid = 1;
    d.asvc = 2;
    d.substream1 = 0x13;
    d.substream2 = 0x24;
    d.substream3 = 0x35;
    d.additional_info_byte = {4, 5};
    d.descriptor_length = 10;
}

inline void fill(mpegcore::DTS_descriptor& d)
{
    d.sample_rate_code = 13;
    d.bit_rate_code = 0x2A;
    d.nblks = 0x55;
    d.fsize = 0x2AAA;
    d.surround_mode = 0x15;
    d.lfe_flag = 1;
    d.extended_surround_flag = 2;
    d.additional_info_byte = {0x99};
    d.descriptor_length = 6;
}

inline void fill(mpegcore::AAC_descriptor& d)
{
    d.profile_and_level = 0x52;
    d.AAC_type_flag = 1;
    d.reserved_zero_future_use = 0x2A;
    d.AAC_type = 0x43;
    d.additional_info_byte = {1, 2};
    d.descriptor_length = 5;
}

inline void fill(mpegcore::FTA_content_management_descriptor& d)
{
    d.user_defined = 1;
    d.reserved_future_use = 2;
    d.do_not_scramble = 1;
    d.control_remote_access_over_internet = 2;
    d.do_not_apply_revocation = 1;
    d.descriptor_length = 1;
}
} // namespace zqtest
