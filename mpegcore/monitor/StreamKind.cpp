// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/StreamKind.h"

#include <algorithm>
#include <array>

namespace mpegcore
{
namespace
{
struct KindOfType
{
    std::uint8_t first, last; ///< stream_type
    PIDKind kind;
};

// ISO/IEC 13818-1, table 2-34; from 0x80 on as they are used beside the standard.
constexpr std::array kinds_of_types{
    KindOfType{0x01, 0x02, PIDKind::video},  KindOfType{0x03, 0x04, PIDKind::audio},
    KindOfType{0x0F, 0x0F, PIDKind::audio},  KindOfType{0x10, 0x10, PIDKind::video},
    KindOfType{0x11, 0x11, PIDKind::audio},  KindOfType{0x1B, 0x1B, PIDKind::video},
    KindOfType{0x1C, 0x1C, PIDKind::audio},  KindOfType{0x1E, 0x26, PIDKind::video},
    KindOfType{0x28, 0x2B, PIDKind::video},  KindOfType{0x2D, 0x2E, PIDKind::audio},
    KindOfType{0x31, 0x36, PIDKind::video},  KindOfType{0x81, 0x81, PIDKind::audio},
    KindOfType{0x86, 0x86, PIDKind::SCTE35}, KindOfType{0x87, 0x87, PIDKind::audio},
};

struct KindOfTag
{
    std::uint8_t tag;
    PIDKind kind;
};

// ETSI EN 300 468, of streams with stream_type 0x06 or a user private one.
constexpr std::array kinds_of_tags{
    KindOfTag{0x6A, PIDKind::audio},     KindOfTag{0x7A, PIDKind::audio},     KindOfTag{0x7B, PIDKind::audio},
    KindOfTag{0x7C, PIDKind::audio},     KindOfTag{0x46, PIDKind::subtitles}, KindOfTag{0x56, PIDKind::subtitles},
    KindOfTag{0x59, PIDKind::subtitles},
};

constexpr std::uint8_t PES_private_data = 0x06, first_user_private = 0x80;
} // namespace

PIDKind kind_of(const CBaseStreamTypeMap& stream)
{
    const std::uint8_t type = stream.stream_type;
    if (stream.descriptors.find<T2_MI_descriptor>() != nullptr)
        return PIDKind::T2MI;
    if (type == PES_private_data || type >= first_user_private)
        for (const KindOfTag& row : kinds_of_tags)
            if (stream.descriptors.find(row.tag) != nullptr)
                return row.kind;
    for (const KindOfType& row : kinds_of_types)
        if (type >= row.first && type <= row.last)
            return row.kind;
    return PIDKind::data;
}

bool is_still_picture(const CBaseStreamTypeMap& stream)
{
    const auto& descriptors = stream.descriptors;
    if (const auto found = descriptors.find<video_stream_descriptor>(); found != nullptr)
        return found->still_picture_flag != 0;
    if (const auto found = descriptors.find<AVC_video_descriptor>(); found != nullptr)
        return found->AVC_still_present != 0;
    if (const auto found = descriptors.find<HEVC_video_descriptor>(); found != nullptr)
        return found->HEVC_still_present_flag != 0;
    return false;
}

PIDKind fixed_kind(std::uint16_t PID)
{
    constexpr std::uint16_t last_fixed = 0x1F;
    switch (PID) {
    case 0x00:
        return PIDKind::PAT;
    case 0x01:
        return PIDKind::CAT;
    case 0x02:
        return PIDKind::TSDT;
    case 0x10:
        return PIDKind::NIT;
    case 0x11:
        return PIDKind::SDT_BAT;
    case 0x12:
        return PIDKind::EIT;
    case 0x13:
        return PIDKind::RST;
    case 0x14:
        return PIDKind::TDT_TOT;
    case null_packet_PID:
        return PIDKind::null;
    default:
        return PID <= last_fixed ? PIDKind::other_SI : PIDKind::unknown;
    }
}
} // namespace mpegcore
