// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace mpegcore
{
namespace
{
// ETSI EN 300 468, table 26.
constexpr Meaning stream_contents[]{
    {0x01, "MPEG-2 video"},
    {0x02, "MPEG-1 Layer 2 audio"},
    {0x03, "subtitles and data"},
    {0x04, "AC-3 or E-AC-3 audio"},
    {0x05, "AVC video"},
    {0x06, "HE-AAC audio"},
    {0x07, "DTS audio"},
    {0x08, "DVB SRM data"},
    {0x09, "HEVC, VVC and AVS3 video, AC-4, MPEG-H and DTS-UHD audio, TTML subtitles"},
    {0x0B, "further description of another component"},
    {0x0C, 0x0F, "user defined"},
};

// By stream_content_ext * 4096 + stream_content * 256 + component_type; the extension of 1 to 8 counts as 0. AC-3 and
// E-AC-3 are below.
constexpr Meaning components[]{
    {0x101, "MPEG-2 video, 4:3, 25 Hz"},
    {0x102, "MPEG-2 video, 16:9 with pan vectors, 25 Hz"},
    {0x103, "MPEG-2 video, 16:9, 25 Hz"},
    {0x104, "MPEG-2 video, wider than 16:9, 25 Hz"},
    {0x105, "MPEG-2 video, 4:3, 30 Hz"},
    {0x106, "MPEG-2 video, 16:9 with pan vectors, 30 Hz"},
    {0x107, "MPEG-2 video, 16:9, 30 Hz"},
    {0x108, "MPEG-2 video, wider than 16:9, 30 Hz"},
    {0x109, "MPEG-2 video, HD, 4:3, 25 Hz"},
    {0x10A, "MPEG-2 video, HD, 16:9 with pan vectors, 25 Hz"},
    {0x10B, "MPEG-2 video, HD, 16:9, 25 Hz"},
    {0x10C, "MPEG-2 video, HD, wider than 16:9, 25 Hz"},
    {0x10D, "MPEG-2 video, HD, 4:3, 30 Hz"},
    {0x10E, "MPEG-2 video, HD, 16:9 with pan vectors, 30 Hz"},
    {0x10F, "MPEG-2 video, HD, 16:9, 30 Hz"},
    {0x110, "MPEG-2 video, HD, wider than 16:9, 30 Hz"},
    {0x201, "MPEG-1 Layer 2 audio, mono"},
    {0x202, "MPEG-1 Layer 2 audio, dual mono"},
    {0x203, "MPEG-1 Layer 2 audio, stereo"},
    {0x204, "MPEG-1 Layer 2 audio, multilingual, multichannel"},
    {0x205, "MPEG-1 Layer 2 audio, surround"},
    {0x240, "MPEG-1 Layer 2 audio for the visually impaired"},
    {0x241, "MPEG-1 Layer 2 audio for the hard of hearing"},
    {0x242, "MPEG-1 Layer 2 audio, receiver-mix supplementary"},
    {0x247, "MPEG-1 Layer 2 audio, receiver-mix audio description"},
    {0x248, "MPEG-1 Layer 2 audio, broadcast-mix audio description"},
    {0x301, "EBU teletext subtitles"},
    {0x302, "associated EBU teletext"},
    {0x303, "VBI data"},
    {0x310, "DVB subtitles"},
    {0x311, "DVB subtitles, 4:3"},
    {0x312, "DVB subtitles, 16:9"},
    {0x313, "DVB subtitles, 2.21:1"},
    {0x314, "DVB subtitles, HD"},
    {0x315, "DVB subtitles, HD, 3D disparity"},
    {0x316, "DVB subtitles, UHD"},
    {0x320, "DVB subtitles for the hard of hearing"},
    {0x321, "DVB subtitles for the hard of hearing, 4:3"},
    {0x322, "DVB subtitles for the hard of hearing, 16:9"},
    {0x323, "DVB subtitles for the hard of hearing, 2.21:1"},
    {0x324, "DVB subtitles for the hard of hearing, HD"},
    {0x325, "DVB subtitles for the hard of hearing, HD, 3D disparity"},
    {0x326, "DVB subtitles for the hard of hearing, UHD"},
    {0x330, "open sign language interpretation"},
    {0x331, "closed sign language interpretation"},
    {0x340, "video up-sampled from SD"},
    {0x341, "video is SDR"},
    {0x342, "video is HDR, remapped from SDR"},
    {0x343, "video is HDR, up-converted from SDR"},
    {0x344, "video is of standard frame rate"},
    {0x345, "video is HFR, generated from standard frame rate"},
    {0x380, "dependent SAOC-DE data"},
    {0x501, "AVC video, 4:3, 25 Hz"},
    {0x503, "AVC video, 16:9, 25 Hz"},
    {0x504, "AVC video, wider than 16:9, 25 Hz"},
    {0x505, "AVC video, 4:3, 30 Hz"},
    {0x507, "AVC video, 16:9, 30 Hz"},
    {0x508, "AVC video, wider than 16:9, 30 Hz"},
    {0x50B, "AVC video, HD, 16:9, 25 Hz"},
    {0x50C, "AVC video, HD, wider than 16:9, 25 Hz"},
    {0x50F, "AVC video, HD, 16:9, 30 Hz"},
    {0x510, "AVC video, HD, wider than 16:9, 30 Hz"},
    {0x580, "AVC video, frame-compatible 3D, side by side, 25 Hz"},
    {0x581, "AVC video, frame-compatible 3D, top and bottom, 25 Hz"},
    {0x582, "AVC video, frame-compatible 3D, side by side, 30 Hz"},
    {0x583, "AVC video, frame-compatible 3D, top and bottom, 30 Hz"},
    {0x584, "AVC video, MVC dependent view"},
    {0x601, "HE-AAC audio, mono"},
    {0x603, "HE-AAC audio, stereo"},
    {0x605, "HE-AAC audio, surround"},
    {0x640, "HE-AAC audio for the visually impaired"},
    {0x641, "HE-AAC audio for the hard of hearing"},
    {0x642, "HE-AAC audio, receiver-mix supplementary"},
    {0x643, "HE-AAC v2 audio, stereo"},
    {0x644, "HE-AAC v2 audio for the visually impaired"},
    {0x645, "HE-AAC v2 audio for the hard of hearing"},
    {0x646, "HE-AAC v2 audio, receiver-mix supplementary"},
    {0x647, "HE-AAC audio, receiver-mix audio description"},
    {0x648, "HE-AAC audio, broadcast-mix audio description"},
    {0x649, "HE-AAC v2 audio, receiver-mix audio description"},
    {0x64A, "HE-AAC v2 audio, broadcast-mix audio description"},
    {0x6A0, "HE-AAC or HE-AAC v2 audio with SAOC-DE data"},
    {0x801, "DVB SRM data"},
    {0x900, "HEVC Main video, HD, 50 Hz"},
    {0x901, "HEVC Main 10 video, HD, 50 Hz"},
    {0x902, "HEVC Main video, HD, 60 Hz"},
    {0x903, "HEVC Main 10 video, HD, 60 Hz"},
    {0x904, "HEVC video, UHD"},
    {0x905, "HEVC video, UHD, PQ10, up to 60 Hz"},
    {0x906, "HEVC video, UHD, 100 or 120 Hz"},
    {0x907, "HEVC video, UHD, PQ10, 100 or 120 Hz"},
    {0x908, "HEVC video, up to 8K"},
    {0x910, "VVC video, 2160p, up to 60 Hz"},
    {0x911, "VVC video, 2160p, up to 120 Hz"},
    {0x912, "VVC video, 4320p, up to 60 Hz"},
    {0x913, "VVC video, 4320p, up to 120 Hz"},
    {0x920, "AVS3 video, 2160p, up to 60 Hz"},
    {0x921, "AVS3 video, 2160p, up to 120 Hz"},
    {0x922, "AVS3 video, 4320p, up to 60 Hz"},
    {0x923, "AVS3 video, 4320p, up to 120 Hz"},
    {0x1900, "AC-4 audio, main, mono"},
    {0x1901, "AC-4 audio, main, mono, dialogue enhancement"},
    {0x1902, "AC-4 audio, main, stereo"},
    {0x1903, "AC-4 audio, main, stereo, dialogue enhancement"},
    {0x1904, "AC-4 audio, main, multichannel"},
    {0x1905, "AC-4 audio, main, multichannel, dialogue enhancement"},
    {0x1906, "AC-4 audio, broadcast-mix audio description, mono"},
    {0x1907, "AC-4 audio, broadcast-mix audio description, mono, dialogue enhancement"},
    {0x1908, "AC-4 audio, broadcast-mix audio description, stereo"},
    {0x1909, "AC-4 audio, broadcast-mix audio description, stereo, dialogue enhancement"},
    {0x190A, "AC-4 audio, broadcast-mix audio description, multichannel"},
    {0x190B, "AC-4 audio, broadcast-mix audio description, multichannel, dialogue enhancement"},
    {0x190C, "AC-4 audio, receiver-mix audio description"},
    {0x190D, "AC-4 audio, receiver-mix audio description, dialogue enhancement"},
    {0x190E, "AC-4 part 2 audio"},
    {0x190F, "MPEG-H audio, LC profile"},
    {0x1910, 0x1915, "DTS-UHD audio, main"},
    {0x1916, 0x191B, "DTS-UHD audio, broadcast-mix audio description"},
    {0x191C, 0x191D, "DTS-UHD audio, receiver-mix audio description"},
    {0x191E, "DTS-UHD audio, NGA"},
    {0x1920, 0x1922, "AVS3 audio"},
    {0x2900, 0x29FF, "TTML subtitles"},
    {0xFB00, "less than 16:9"},
    {0xFB01, "16:9"},
    {0xFB02, "wider than 16:9"},
    {0xFB03, "top and bottom 3D"},
    {0xFB04, "HLG10"},
    {0xFB05, "HEVC temporal subset, HFR"},
    {0xFB06, "ST 2094-10"},
    {0xFB07, "SL-HDR2"},
    {0xFB08, "ST 2094-40"},
    {0xFB09, "PQ10"},
};

// Annex D: the bits of component_type.
constexpr std::array<std::string_view, 8> ac_3_services{"complete main",    "music and effects", "visually impaired",
                                                        "hearing impaired", "dialogue",          "commentary",
                                                        "emergency",        "voice over"};
constexpr std::array<std::string_view, 7> ac_3_channels{"mono",
                                                        "1+1 mode",
                                                        "stereo",
                                                        "surround encoded stereo",
                                                        "multichannel",
                                                        "more than 5.1 channels",
                                                        "independent substreams"};

std::string ac_3_meaning(unsigned component_type)
{
    const bool enhanced = (component_type & 0x80) != 0;
    const bool full = (component_type & 0x40) != 0;
    const unsigned service = component_type >> 3 & 7;
    const unsigned channels = component_type & 7;
    if (channels > (enhanced ? 6U : 4U))
        return {};
    std::string text = enhanced ? "E-AC-3 audio" : "AC-3 audio";
    text += full ? ", full service, " : ", ";
    text += full && service == 7 ? "karaoke" : ac_3_services[service];
    return text.append(", ").append(ac_3_channels[channels]);
}

/// The meanings of component_type with `above` in front of it, for as long as the program runs.
std::vector<Meaning> ac_3_meanings(std::uint32_t above)
{
    static const auto texts = [] {
        std::array<std::string, 256> all;
        for (unsigned type = 0; type < all.size(); ++type)
            all[type] = ac_3_meaning(type);
        return all;
    }();
    std::vector<Meaning> meanings;
    for (std::uint32_t type = 0; type < texts.size(); ++type)
        if (!texts[type].empty())
            meanings.emplace_back(above | type, texts[type]);
    return meanings;
}
} // namespace

void add_component_meanings(MeaningIndex& index)
{
    static const auto of_components = [] {
        auto all = ac_3_meanings(0x400);
        all.insert(all.end(), std::begin(components), std::end(components));
        std::sort(all.begin(), all.end(), [](const Meaning& a, const Meaning& b) { return a.first < b.first; });
        return all;
    }();
    static const auto of_ac_3 = ac_3_meanings(0);
    index.add("stream_content", stream_contents);
    index.add("component_type", {{}, of_components.data(), of_components.size()});
    for (const auto* const structure : {"AC-3_descriptor", "enhanced_AC-3_descriptor"})
        index.add("component_type", {structure, of_ac_3.data(), of_ac_3.size()});
}
} // namespace mpegcore
