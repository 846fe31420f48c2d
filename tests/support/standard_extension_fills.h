// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/zqdescriptorlist.h"

namespace zqtest
{
// The fills of descriptor_registry.h for the classes behind the tag 0x7F that only the standard dictionary has.

inline void fill(mpegcore::standard_T2_delivery_system_descriptor& d)
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
    d.tfs_flag = 1;
    d.tfs_cells = {{0x0102, 8, {{0x11111111}, {0x22222222}}, 5, {{9, 0x33333333}}}, {0x0304, 0, {}, 0, {}}};
    d.descriptor_length = 6 + 2 + 1 + 8 + 1 + 5 + 4;
}

inline void fill(mpegcore::SH_delivery_system_descriptor& d)
{
    d.descriptor_tag_extension = 5;
    d.diversity_mode = 13;
    d.reserved_future_use = 10;
    // A TDM modulation with a long interleaver and an OFDM one with a short one, then one without.
    d.modulations = {{0, 1, 0, 0x15, 1, 2, 1, 10, 18, 1, 0, 0, 0, 0, 0, 0, 0x2A, 0x15, 0x33, 0x99, 0x2D, 0},
                     {1, 1, 1, 0x0A, 0, 0, 0, 9, 0, 0, 4, 1, 3, 2, 1, 1, 0x15, 0, 0, 0, 0, 2},
                     {1, 0, 1, 0x1F, 0, 0, 0, 5, 0, 0, 2, 0, 4, 1, 3, 0, 0, 0, 0, 0, 0, 0}};
    d.descriptor_length = 2 + 7 + 4 + 3;
}

inline void fill(mpegcore::supplementary_audio_descriptor& d)
{
    d.descriptor_tag_extension = 6;
    d.mix_type = 1;
    d.editorial_classification = 0x15;
    d.reserved_future_use = 0;
    d.language_code_present = 1;
    d.ISO_639_language_code = {'n', 'l', 'd'};
    d.private_data_byte = {0x42};
    d.descriptor_length = 6;
}

inline void fill(mpegcore::message_descriptor& d)
{
    d.descriptor_tag_extension = 8;
    d.message_id = 0x21;
    d.ISO_639_language_code = {'i', 't', 'a'};
    d.text = {'C', 'i', 'a', 'o'};
    d.descriptor_length = 9;
}

inline void fill(mpegcore::C2_delivery_system_descriptor& d)
{
    d.descriptor_tag_extension = 13;
    d.plp_id = 0x12;
    d.data_slice_id = 0x34;
    d.C2_System_tuning_frequency = 0x1C9C3800;
    d.C2_System_tuning_frequency_type = 1;
    d.active_OFDM_symbol_duration = 5;
    d.guard_interval = 2;
    d.descriptor_length = 8;
}

inline void fill(mpegcore::T2_MI_descriptor& d)
{
    d.descriptor_tag_extension = 0x11;
    d.reserved_zero_future_use = 0x15;
    d.t2mi_stream_id = 5;
    d.reserved_zero_future_use2 = 0x0A;
    d.num_t2mi_streams_minus_one = 3;
    d.reserved_zero_future_use3 = 0x55;
    d.pcr_iscr_common_clock_flag = 1;
    d.reserved_zero_future_use_byte = {1, 2};
    d.descriptor_length = 6;
}
} // namespace zqtest
