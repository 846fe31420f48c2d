// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/zqdescriptorlist.h"

namespace zqtest
{
/// Every descriptor class, as a List of types.
template <template <class...> class List>
using descriptor_classes =
    List<mpegcore::CA_descriptor, mpegcore::ISO_639_language_descriptor, mpegcore::STD_descriptor,
         mpegcore::T2_delivery_system_descriptor, mpegcore::VBI_data_descriptor, mpegcore::ac3_descriptor,
         mpegcore::audio_stream_descriptor, mpegcore::avail_descriptor, mpegcore::bouquet_name_descriptor,
         mpegcore::cue_identifier_descriptor, mpegcore::extended_event_descriptor, mpegcore::extension_descriptor,
         mpegcore::local_time_offset_descriptor, mpegcore::logical_channel_descriptor,
         mpegcore::multiplex_buffer_utilization_descriptor, mpegcore::network_name_descriptor,
         mpegcore::parental_rating_descriptor, mpegcore::scte35_dtmf_descriptor,
         mpegcore::scte35_segmentation_descriptor, mpegcore::service_descriptor, mpegcore::service_list_descriptor,
         mpegcore::short_event_descriptor, mpegcore::smoothing_buffer_descriptor,
         mpegcore::stream_identifier_descriptor, mpegcore::subtitling_descriptor, mpegcore::teletext_descriptor,
         mpegcore::video_stream_descriptor>;
} // namespace zqtest
