// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"

namespace mpegcore
{
namespace
{
// ISO/IEC 13818-1, table 2-34.
constexpr Meaning stream_types[]{
    {0x01, "MPEG-1 video"},
    {0x02, "MPEG-2 video"},
    {0x03, "MPEG-1 audio"},
    {0x04, "MPEG-2 audio"},
    {0x05, "private sections"},
    {0x06, "PES private data"},
    {0x07, "MHEG"},
    {0x08, "DSM-CC"},
    {0x09, "H.222.1"},
    {0x0A, "DSM-CC multiprotocol encapsulation"},
    {0x0B, "DSM-CC user-to-network messages"},
    {0x0C, "DSM-CC stream descriptors"},
    {0x0D, "DSM-CC sections"},
    {0x0E, "auxiliary data"},
    {0x0F, "AAC audio, ADTS"},
    {0x10, "MPEG-4 visual"},
    {0x11, "AAC audio, LATM"},
    {0x12, "MPEG-4 SL or FlexMux in PES packets"},
    {0x13, "MPEG-4 SL or FlexMux in sections"},
    {0x14, "DSM-CC synchronized download"},
    {0x15, "metadata in PES packets"},
    {0x16, "metadata in sections"},
    {0x17, "metadata in a data carousel"},
    {0x18, "metadata in an object carousel"},
    {0x19, "metadata in synchronized download"},
    {0x1A, "IPMP"},
    {0x1B, "AVC video"},
    {0x1C, "MPEG-4 raw audio"},
    {0x1D, "MPEG-4 text"},
    {0x1E, "auxiliary video"},
    {0x1F, "SVC video sub-bitstream"},
    {0x20, "MVC video sub-bitstream"},
    {0x21, "JPEG 2000 video"},
    {0x22, "MPEG-2 video, additional view"},
    {0x23, "AVC video, additional view"},
    {0x24, "HEVC video"},
    {0x25, "HEVC video, temporal subset"},
    {0x26, "MVCD video sub-bitstream"},
    {0x27, "timeline and external media information"},
    {0x28, "HEVC video, enhancement (Annex G)"},
    {0x29, "HEVC video, temporal enhancement (Annex G)"},
    {0x2A, "HEVC video, enhancement (Annex H)"},
    {0x2B, "HEVC video, temporal enhancement (Annex H)"},
    {0x2C, "green access units"},
    {0x2D, "MPEG-H 3D audio, main"},
    {0x2E, "MPEG-H 3D audio, auxiliary"},
    {0x2F, "quality access units"},
    {0x30, "media orchestration access units"},
    {0x31, "HEVC video, tile set"},
    {0x32, "JPEG XS video"},
    {0x33, "VVC video"},
    {0x34, "VVC video, temporal subset"},
    {0x35, "EVC video"},
    {0x36, "LCEVC video"},
    {0x7F, "IPMP"},
    {0x80, 0x85, "user private"},
    {0x86, "SCTE 35 splice information, or user private"},
    {0x87, 0xFF, "user private"},
};

// Of video, 2.6.11.
constexpr Meaning alignment_types[]{
    {0x01, "slice or video access unit"},
    {0x02, "video access unit"},
    {0x03, "GOP or SEQ"},
    {0x04, "SEQ"},
};

// 2.6.19.
constexpr Meaning audio_types[]{
    {0x00, "undefined"},
    {0x01, "clean effects"},
    {0x02, "hearing impaired"},
    {0x03, "visual impaired commentary"},
};

// ISO/IEC 13818-2, table 6-4.
constexpr Meaning frame_rate_codes[]{
    {0x01, "23.976 Hz"}, {0x02, "24 Hz"}, {0x03, "25 Hz"},    {0x04, "29.97 Hz"},
    {0x05, "30 Hz"},     {0x06, "50 Hz"}, {0x07, "59.94 Hz"}, {0x08, "60 Hz"},
};

constexpr Meaning chroma_formats[]{
    {0x01, "4:2:0"},
    {0x02, "4:2:2"},
    {0x03, "4:4:4"},
};

// ISO/IEC 11172-3, 2.4.2.3.
constexpr Meaning layers[]{
    {0x01, "layer III"},
    {0x02, "layer II"},
    {0x03, "layer I"},
};

// MPEG-4_audio_descriptor.
constexpr Meaning mpeg_4_audio_levels[]{
    {0x50, "AAC level 1"},       {0x51, "AAC level 2"},       {0x52, "AAC level 4"},       {0x53, "AAC level 5"},
    {0x58, "HE-AAC level 2"},    {0x59, "HE-AAC level 3"},    {0x5A, "HE-AAC level 4"},    {0x5B, "HE-AAC level 5"},
    {0x60, "HE-AAC v2 level 2"}, {0x61, "HE-AAC v2 level 3"}, {0x62, "HE-AAC v2 level 4"}, {0x63, "HE-AAC v2 level 5"},
    {0xFF, "not specified"},
};

constexpr Meaning avc_profiles[]{
    {0x42, "Baseline"},   {0x4D, "Main"},        {0x58, "Extended"},
    {0x64, "High"},       {0x6E, "High 10"},     {0x76, "Multiview High"},
    {0x7A, "High 4:2:2"}, {0x80, "Stereo High"}, {0xF4, "High 4:4:4 Predictive"},
};

constexpr Meaning hevc_profiles[]{
    {0x01, "Main"},
    {0x02, "Main 10"},
    {0x03, "Main Still Picture"},
    {0x04, "range extensions"},
};

constexpr Meaning hevc_tiers[]{
    {0x00, "Main tier"},
    {0x01, "High tier"},
};

constexpr Meaning dynamic_ranges[]{
    {0x00, "SDR"},
    {0x01, "WCG only"},
    {0x02, "HDR and WCG"},
    {0x03, "no indication"},
};

// ETSI EN 300 468, Annex G.
constexpr Meaning dts_sample_rates[]{
    {0x01, "8 kHz"},      {0x02, "16 kHz"},    {0x03, "32 kHz"},   {0x04, "64 kHz"},   {0x05, "128 kHz"},
    {0x06, "11.025 kHz"}, {0x07, "22.05 kHz"}, {0x08, "44.1 kHz"}, {0x09, "88.2 kHz"}, {0x0A, "176.4 kHz"},
    {0x0B, "12 kHz"},     {0x0C, "24 kHz"},    {0x0D, "48 kHz"},   {0x0E, "96 kHz"},   {0x0F, "192 kHz"},
};

// The highest of the 6 bits does not count.
constexpr Meaning dts_bit_rates[]{
    {0x05, "128 kbit/s"},    {0x06, "192 kbit/s"},    {0x07, "224 kbit/s"},  {0x08, "256 kbit/s"},
    {0x09, "320 kbit/s"},    {0x0A, "384 kbit/s"},    {0x0B, "448 kbit/s"},  {0x0C, "512 kbit/s"},
    {0x0D, "576 kbit/s"},    {0x0E, "640 kbit/s"},    {0x0F, "768 kbit/s"},  {0x10, "960 kbit/s"},
    {0x11, "1024 kbit/s"},   {0x12, "1152 kbit/s"},   {0x13, "1280 kbit/s"}, {0x14, "1344 kbit/s"},
    {0x15, "1408 kbit/s"},   {0x16, "1411.2 kbit/s"}, {0x17, "1472 kbit/s"}, {0x18, "1536 kbit/s"},
    {0x19, "1920 kbit/s"},   {0x1A, "2048 kbit/s"},   {0x1B, "3072 kbit/s"}, {0x1C, "3840 kbit/s"},
    {0x1D, "open"},          {0x1E, "variable"},      {0x1F, "lossless"},    {0x25, "128 kbit/s"},
    {0x26, "192 kbit/s"},    {0x27, "224 kbit/s"},    {0x28, "256 kbit/s"},  {0x29, "320 kbit/s"},
    {0x2A, "384 kbit/s"},    {0x2B, "448 kbit/s"},    {0x2C, "512 kbit/s"},  {0x2D, "576 kbit/s"},
    {0x2E, "640 kbit/s"},    {0x2F, "768 kbit/s"},    {0x30, "960 kbit/s"},  {0x31, "1024 kbit/s"},
    {0x32, "1152 kbit/s"},   {0x33, "1280 kbit/s"},   {0x34, "1344 kbit/s"}, {0x35, "1408 kbit/s"},
    {0x36, "1411.2 kbit/s"}, {0x37, "1472 kbit/s"},   {0x38, "1536 kbit/s"}, {0x39, "1920 kbit/s"},
    {0x3A, "2048 kbit/s"},   {0x3B, "3072 kbit/s"},   {0x3C, "3840 kbit/s"}, {0x3D, "open"},
    {0x3E, "variable"},      {0x3F, "lossless"},
};

constexpr Meaning dts_surround_modes[]{
    {0x00, "mono"},
    {0x02, "stereo"},
    {0x03, "sum and difference"},
    {0x04, "left and right total"},
    {0x05, "3/0"},
    {0x06, "2/1"},
    {0x07, "3/1"},
    {0x08, "2/2"},
    {0x09, "3/2"},
    {0x0A, 0x3F, "user defined"},
};

constexpr Meaning dts_extended_surround[]{
    {0x00, "none"},
    {0x01, "matrixed"},
    {0x02, "discrete"},
};
} // namespace

void add_stream_meanings(MeaningIndex& index)
{
    index.add("stream_type", stream_types);
    index.add("alignment_type", alignment_types);
    index.add("audio_type", audio_types);
    index.add("frame_rate_code", frame_rate_codes);
    index.add("chroma_format", chroma_formats);
    index.add("layer", layers);
    index.add("MPEG-4_audio_profile_and_level", mpeg_4_audio_levels);
    index.add("profile_and_level", mpeg_4_audio_levels, "AAC_descriptor");
    index.add("profile_idc", avc_profiles, "AVC_video_descriptor");
    index.add("profile_idc", hevc_profiles, "HEVC_video_descriptor");
    index.add("tier_flag", hevc_tiers, "HEVC_video_descriptor");
    index.add("HDR_WCG_idc", dynamic_ranges);
    index.add("sample_rate_code", dts_sample_rates);
    index.add("bit_rate_code", dts_bit_rates);
    index.add("surround_mode", dts_surround_modes);
    index.add("extended_surround_flag", dts_extended_surround);
}
} // namespace mpegcore
