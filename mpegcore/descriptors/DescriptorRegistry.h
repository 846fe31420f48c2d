// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/descriptors/CA_descriptor.h"
#include "mpegcore/descriptors/ISO_639_language_descriptor.h"
#include "mpegcore/descriptors/STD_descriptor.h"
#include "mpegcore/descriptors/T2_delivery_system_descriptor.h"
#include "mpegcore/descriptors/VBI_data_descriptor.h"
#include "mpegcore/descriptors/ac3_descriptor.h"
#include "mpegcore/descriptors/audio_stream_descriptor.h"
#include "mpegcore/descriptors/avail_descriptor.h"
#include "mpegcore/descriptors/bouquet_name_descriptor.h"
#include "mpegcore/descriptors/cue_identifier_descriptor.h"
#include "mpegcore/descriptors/extended_event_descriptor.h"
#include "mpegcore/descriptors/extension_descriptor.h"
#include "mpegcore/descriptors/local_time_offset_descriptor.h"
#include "mpegcore/descriptors/logical_channel_descriptor.h"
#include "mpegcore/descriptors/multiplex_buffer_utilization_descriptor.h"
#include "mpegcore/descriptors/network_name_descriptor.h"
#include "mpegcore/descriptors/parental_rating_descriptor.h"
#include "mpegcore/descriptors/scte35_dtmf_descriptor.h"
#include "mpegcore/descriptors/scte35_segmentation_descriptor.h"
#include "mpegcore/descriptors/service_descriptor.h"
#include "mpegcore/descriptors/service_list_descriptor.h"
#include "mpegcore/descriptors/short_event_descriptor.h"
#include "mpegcore/descriptors/smoothing_buffer_descriptor.h"
#include "mpegcore/descriptors/stream_identifier_descriptor.h"
#include "mpegcore/descriptors/subtitling_descriptor.h"
#include "mpegcore/descriptors/teletext_descriptor.h"
#include "mpegcore/descriptors/video_stream_descriptor.h"

namespace mpegcore
{
/// Every descriptor class, as a List of types. Each says by its `places` which dictionary finds it where; all that is
/// done for every class walks this list.
template <template <class...> class List>
using descriptor_classes =
    List<CA_descriptor, ISO_639_language_descriptor, STD_descriptor, T2_delivery_system_descriptor, VBI_data_descriptor,
         ac3_descriptor, audio_stream_descriptor, avail_descriptor, bouquet_name_descriptor, cue_identifier_descriptor,
         extended_event_descriptor, extension_descriptor, local_time_offset_descriptor, logical_channel_descriptor,
         multiplex_buffer_utilization_descriptor, network_name_descriptor, parental_rating_descriptor,
         scte35_dtmf_descriptor, scte35_segmentation_descriptor, service_descriptor, service_list_descriptor,
         short_event_descriptor, smoothing_buffer_descriptor, stream_identifier_descriptor, subtitling_descriptor,
         teletext_descriptor, video_stream_descriptor>;
} // namespace mpegcore
