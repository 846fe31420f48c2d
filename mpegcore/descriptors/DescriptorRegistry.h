// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/descriptors/AAC_descriptor.h"
#include "mpegcore/descriptors/AVC_timing_and_HRD_descriptor.h"
#include "mpegcore/descriptors/AVC_video_descriptor.h"
#include "mpegcore/descriptors/C2_delivery_system_descriptor.h"
#include "mpegcore/descriptors/CA_descriptor.h"
#include "mpegcore/descriptors/CA_identifier_descriptor.h"
#include "mpegcore/descriptors/DTS_descriptor.h"
#include "mpegcore/descriptors/FTA_content_management_descriptor.h"
#include "mpegcore/descriptors/HEVC_video_descriptor.h"
#include "mpegcore/descriptors/ISO_639_language_descriptor.h"
#include "mpegcore/descriptors/MPEG_4_audio_descriptor.h"
#include "mpegcore/descriptors/S2_satellite_delivery_system_descriptor.h"
#include "mpegcore/descriptors/SH_delivery_system_descriptor.h"
#include "mpegcore/descriptors/STD_descriptor.h"
#include "mpegcore/descriptors/T2_MI_descriptor.h"
#include "mpegcore/descriptors/T2_delivery_system_descriptor.h"
#include "mpegcore/descriptors/VBI_data_descriptor.h"
#include "mpegcore/descriptors/ac3_descriptor.h"
#include "mpegcore/descriptors/application_descriptor.h"
#include "mpegcore/descriptors/application_icons_descriptor.h"
#include "mpegcore/descriptors/application_name_descriptor.h"
#include "mpegcore/descriptors/application_signalling_descriptor.h"
#include "mpegcore/descriptors/application_usage_descriptor.h"
#include "mpegcore/descriptors/association_tag_descriptor.h"
#include "mpegcore/descriptors/audio_stream_descriptor.h"
#include "mpegcore/descriptors/avail_descriptor.h"
#include "mpegcore/descriptors/bouquet_name_descriptor.h"
#include "mpegcore/descriptors/cable_delivery_system_descriptor.h"
#include "mpegcore/descriptors/carousel_identifier_descriptor.h"
#include "mpegcore/descriptors/cell_frequency_link_descriptor.h"
#include "mpegcore/descriptors/cell_list_descriptor.h"
#include "mpegcore/descriptors/component_descriptor.h"
#include "mpegcore/descriptors/content_descriptor.h"
#include "mpegcore/descriptors/content_identifier_descriptor.h"
#include "mpegcore/descriptors/cue_identifier_descriptor.h"
#include "mpegcore/descriptors/data_broadcast_descriptor.h"
#include "mpegcore/descriptors/data_broadcast_id_descriptor.h"
#include "mpegcore/descriptors/data_stream_alignment_descriptor.h"
#include "mpegcore/descriptors/default_authority_descriptor.h"
#include "mpegcore/descriptors/dvb_j_application_descriptor.h"
#include "mpegcore/descriptors/dvb_j_application_location_descriptor.h"
#include "mpegcore/descriptors/enhanced_AC_3_descriptor.h"
#include "mpegcore/descriptors/extended_event_descriptor.h"
#include "mpegcore/descriptors/extension_descriptor.h"
#include "mpegcore/descriptors/external_application_authorization_descriptor.h"
#include "mpegcore/descriptors/frequency_list_descriptor.h"
#include "mpegcore/descriptors/linkage_descriptor.h"
#include "mpegcore/descriptors/local_time_offset_descriptor.h"
#include "mpegcore/descriptors/logical_channel_descriptor.h"
#include "mpegcore/descriptors/maximum_bitrate_descriptor.h"
#include "mpegcore/descriptors/message_descriptor.h"
#include "mpegcore/descriptors/multilingual_bouquet_name_descriptor.h"
#include "mpegcore/descriptors/multilingual_component_descriptor.h"
#include "mpegcore/descriptors/multilingual_network_name_descriptor.h"
#include "mpegcore/descriptors/multilingual_service_name_descriptor.h"
#include "mpegcore/descriptors/multiplex_buffer_utilization_descriptor.h"
#include "mpegcore/descriptors/network_name_descriptor.h"
#include "mpegcore/descriptors/parental_rating_descriptor.h"
#include "mpegcore/descriptors/partial_transport_stream_descriptor.h"
#include "mpegcore/descriptors/private_data_specifier_descriptor.h"
#include "mpegcore/descriptors/registration_descriptor.h"
#include "mpegcore/descriptors/satellite_delivery_system_descriptor.h"
#include "mpegcore/descriptors/scte35_audio_descriptor.h"
#include "mpegcore/descriptors/scte35_dtmf_descriptor.h"
#include "mpegcore/descriptors/scte35_segmentation_descriptor.h"
#include "mpegcore/descriptors/scte35_time_descriptor.h"
#include "mpegcore/descriptors/service_descriptor.h"
#include "mpegcore/descriptors/service_list_descriptor.h"
#include "mpegcore/descriptors/short_event_descriptor.h"
#include "mpegcore/descriptors/simple_application_boundary_descriptor.h"
#include "mpegcore/descriptors/simple_application_location_descriptor.h"
#include "mpegcore/descriptors/smoothing_buffer_descriptor.h"
#include "mpegcore/descriptors/standard_T2_delivery_system_descriptor.h"
#include "mpegcore/descriptors/stream_identifier_descriptor.h"
#include "mpegcore/descriptors/subtitling_descriptor.h"
#include "mpegcore/descriptors/supplementary_audio_descriptor.h"
#include "mpegcore/descriptors/teletext_descriptor.h"
#include "mpegcore/descriptors/terrestrial_delivery_system_descriptor.h"
#include "mpegcore/descriptors/transport_protocol_descriptor.h"
#include "mpegcore/descriptors/video_stream_descriptor.h"

namespace mpegcore
{
/// Every descriptor class, as a List of types. Each says by its `places` which dictionary finds it where; all that is
/// done for every class walks this list.
template <template <class...> class List>
using descriptor_classes =
    List<AAC_descriptor, AVC_timing_and_HRD_descriptor, AVC_video_descriptor, C2_delivery_system_descriptor,
         CA_descriptor, CA_identifier_descriptor, DTS_descriptor, FTA_content_management_descriptor,
         HEVC_video_descriptor, ISO_639_language_descriptor, MPEG_4_audio_descriptor,
         S2_satellite_delivery_system_descriptor, SH_delivery_system_descriptor, STD_descriptor, T2_MI_descriptor,
         T2_delivery_system_descriptor, VBI_data_descriptor, ac3_descriptor, application_descriptor,
         application_icons_descriptor, application_name_descriptor, application_signalling_descriptor,
         application_usage_descriptor, association_tag_descriptor, audio_stream_descriptor, avail_descriptor,
         bouquet_name_descriptor, cable_delivery_system_descriptor, carousel_identifier_descriptor,
         cell_frequency_link_descriptor, cell_list_descriptor, component_descriptor, content_descriptor,
         content_identifier_descriptor, cue_identifier_descriptor, data_broadcast_descriptor,
         data_broadcast_id_descriptor, data_stream_alignment_descriptor, default_authority_descriptor,
         dvb_j_application_descriptor, dvb_j_application_location_descriptor, enhanced_AC_3_descriptor,
         extended_event_descriptor, extension_descriptor, external_application_authorization_descriptor,
         frequency_list_descriptor, linkage_descriptor, local_time_offset_descriptor, logical_channel_descriptor,
         maximum_bitrate_descriptor, message_descriptor, multilingual_bouquet_name_descriptor,
         multilingual_component_descriptor, multilingual_network_name_descriptor, multilingual_service_name_descriptor,
         multiplex_buffer_utilization_descriptor, network_name_descriptor, parental_rating_descriptor,
         partial_transport_stream_descriptor, private_data_specifier_descriptor, registration_descriptor,
         satellite_delivery_system_descriptor, scte35_audio_descriptor, scte35_dtmf_descriptor,
         scte35_segmentation_descriptor, scte35_time_descriptor, service_descriptor, service_list_descriptor,
         short_event_descriptor, simple_application_boundary_descriptor, simple_application_location_descriptor,
         smoothing_buffer_descriptor, standard_T2_delivery_system_descriptor, stream_identifier_descriptor,
         subtitling_descriptor, supplementary_audio_descriptor, teletext_descriptor,
         terrestrial_delivery_system_descriptor, transport_protocol_descriptor, video_stream_descriptor>;
} // namespace mpegcore
