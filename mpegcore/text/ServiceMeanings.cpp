// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"

namespace mpegcore
{
namespace
{
// ETSI EN 300 468, table 89.
constexpr Meaning service_types[]{
    {0x01, "digital television"},
    {0x02, "digital radio"},
    {0x03, "teletext"},
    {0x04, "NVOD reference"},
    {0x05, "NVOD time-shifted"},
    {0x06, "mosaic"},
    {0x07, "FM radio"},
    {0x08, "DVB SRM"},
    {0x0A, "advanced codec digital radio"},
    {0x0B, "AVC mosaic"},
    {0x0C, "data broadcast"},
    {0x0D, "reserved for Common Interface"},
    {0x0E, "RCS map"},
    {0x0F, "RCS FLS"},
    {0x10, "DVB MHP"},
    {0x11, "MPEG-2 HD television"},
    {0x16, "AVC SD television"},
    {0x17, "AVC SD NVOD time-shifted"},
    {0x18, "AVC SD NVOD reference"},
    {0x19, "AVC HD television"},
    {0x1A, "AVC HD NVOD time-shifted"},
    {0x1B, "AVC HD NVOD reference"},
    {0x1C, "AVC frame-compatible 3D HD television"},
    {0x1D, "AVC frame-compatible 3D HD NVOD time-shifted"},
    {0x1E, "AVC frame-compatible 3D HD NVOD reference"},
    {0x1F, "HEVC television"},
    {0x20, "HEVC UHD television"},
    {0x21, "VVC television"},
    {0x22, "AVS3 television"},
    {0x80, 0xFE, "user defined"},
};

// Table 6.
constexpr Meaning running_statuses[]{
    {0x00, "undefined"}, {0x01, "not running"}, {0x02, "starts in a few seconds"},
    {0x03, "pausing"},   {0x04, "running"},     {0x05, "service off-air"},
};

constexpr Meaning free_CA_modes[]{
    {0x00, "not scrambled"},
    {0x01, "scrambled"},
};

// Table 60.
constexpr Meaning linkage_types[]{
    {0x01, "information service"},
    {0x02, "EPG service"},
    {0x03, "CA replacement service"},
    {0x04, "transport stream with complete network or bouquet SI"},
    {0x05, "service replacement service"},
    {0x06, "data broadcast service"},
    {0x07, "RCS map"},
    {0x08, "mobile hand-over"},
    {0x09, "system software update service"},
    {0x0A, "transport stream with SSU BAT or NIT"},
    {0x0B, "IP/MAC notification service"},
    {0x0C, "transport stream with INT BAT or NIT"},
    {0x0D, "event linkage"},
    {0x0E, 0x1F, "extended event linkage"},
    {0x20, "downloadable font information"},
    {0x21, "native IP bootstrap MPE stream"},
    {0x80, 0xFE, "user defined"},
};

constexpr Meaning hand_over_types[]{
    {0x01, "identical service in a neighbouring country"},
    {0x02, "local variation of the same service"},
    {0x03, "associated service"},
};

constexpr Meaning origin_types[]{
    {0x00, "NIT"},
    {0x01, "SDT"},
};

constexpr Meaning linkage_table_types[]{
    {0x01, "NIT"},
    {0x02, "BAT"},
};

constexpr Meaning target_id_types[]{
    {0x00, "transport_stream_id of the linkage"},
    {0x01, "explicit transport_stream_id"},
    {0x02, "any transport stream"},
    {0x03, "user defined"},
};

// ETSI TS 101 162.
constexpr Meaning data_broadcast_ids[]{
    {0x01, "data pipe"},
    {0x02, "asynchronous data stream"},
    {0x03, "synchronous data stream"},
    {0x04, "synchronised data stream"},
    {0x05, "multiprotocol encapsulation"},
    {0x06, "data carousel"},
    {0x07, "object carousel"},
    {0x08, "ATM streams"},
    {0x09, "higher protocols on asynchronous data streams"},
    {0x0A, "system software update"},
    {0x0B, "IP/MAC notification"},
    {0x0C, "synchronized auxiliary data"},
    {0xF0, "MHP object carousel"},
    {0xF1, "MHP multiprotocol encapsulation"},
    {0xF2, "MHP application presence"},
    {0x100, "Eutelsat data piping"},
    {0x106, "MHEG-5"},
    {0x107, "OpenTV data carousel"},
    {0x111, "UK DTG"},
    {0x117, "BBC"},
    {0x11B, "teletext"},
    {0x122, "CI Plus data carousel"},
    {0x123, "HbbTV carousel"},
    {0x124, "premium content"},
    {0x150, "OIPF object carousel"},
};

constexpr Meaning teletext_types[]{
    {0x01, "initial teletext page"},
    {0x02, "teletext subtitle page"},
    {0x03, "additional information page"},
    {0x04, "programme schedule page"},
    {0x05, "teletext subtitle page for hearing impaired people"},
};

constexpr Meaning data_service_ids[]{
    {0x01, "EBU teletext"}, {0x02, "inverted teletext"}, {0x04, "VPS"},
    {0x05, "WSS"},          {0x06, "closed captioning"}, {0x07, "monochrome 4:2:2 samples"},
};

// ETSI EN 300 468, parental_rating_descriptor.
constexpr Meaning ratings[]{
    {0x00, "undefined"},
    {0x01, "minimum age 4 years"},
    {0x02, "minimum age 5 years"},
    {0x03, "minimum age 6 years"},
    {0x04, "minimum age 7 years"},
    {0x05, "minimum age 8 years"},
    {0x06, "minimum age 9 years"},
    {0x07, "minimum age 10 years"},
    {0x08, "minimum age 11 years"},
    {0x09, "minimum age 12 years"},
    {0x0A, "minimum age 13 years"},
    {0x0B, "minimum age 14 years"},
    {0x0C, "minimum age 15 years"},
    {0x0D, "minimum age 16 years"},
    {0x0E, "minimum age 17 years"},
    {0x0F, "minimum age 18 years"},
    {0x10, 0xFF, "defined by the broadcaster"},
};

// ETSI TS 102 323, 12.1.
constexpr Meaning crid_types[]{
    {0x00, "none"},           {0x01, "this item of content"}, {0x02, "series"},
    {0x03, "recommendation"}, {0x20, 0x3F, "user private"},
};

constexpr Meaning crid_locations[]{
    {0x00, "in the descriptor"},
    {0x01, "in the CIT"},
};

// ETSI EN 300 468, 6.2.18.
constexpr Meaning remote_access[]{
    {0x00, "enabled"},
    {0x01, "in a managed domain only"},
    {0x02, "in a managed domain only, and after a short time"},
    {0x03, "not allowed"},
};

// 6.4.11.
constexpr Meaning mix_types[]{
    {0x00, "supplementary, for mixing in the receiver"},
    {0x01, "complete"},
};

constexpr Meaning editorial_classifications[]{
    {0x00, "main audio"},
    {0x01, "audio description for the visually impaired"},
    {0x02, "clean audio for the hearing impaired"},
    {0x03, "spoken subtitles for the visually impaired"},
    {0x04, "dependent parametric data"},
    {0x17, "unspecific"},
    {0x18, 0x1F, "user defined"},
};

constexpr Meaning local_time_offset_polarities[]{
    {0x00, "ahead of UTC"},
    {0x01, "behind UTC"},
};

// 7.1.1.
constexpr Meaning transition_flags[]{
    {0x00, "selection changed"},
    {0x01, "source changed"},
};
} // namespace

void add_service_meanings(MeaningIndex& index)
{
    index.add("service_type", service_types);
    index.add("running_status", running_statuses);
    index.add("free_CA_mode", free_CA_modes);
    index.add("linkage_type", linkage_types);
    index.add("hand-over_type", hand_over_types);
    index.add("origin_type", origin_types);
    index.add("table_type", linkage_table_types);
    index.add("target_id_type", target_id_types);
    index.add("data_broadcast_id", data_broadcast_ids);
    index.add("teletext_type", teletext_types);
    index.add("data_service_id", data_service_ids);
    index.add("rating", ratings);
    index.add("crid_type", crid_types);
    index.add("crid_location", crid_locations);
    index.add("control_remote_access_over_internet", remote_access);
    index.add("mix_type", mix_types);
    index.add("editorial_classification", editorial_classifications);
    index.add("local_time_offset_polarity", local_time_offset_polarities);
    index.add("transition_flag", transition_flags);
}
} // namespace mpegcore
