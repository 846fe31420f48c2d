// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Coding of an MPEG video stream: ISO/IEC 13818-1, 2.6.2.
class video_stream_descriptor : public typed_descriptor<video_stream_descriptor, 0x02>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(1, "multiple_frame_rate_flag", d.multiple_frame_rate_flag) &&
               io.bits(4, "frame_rate_code", d.frame_rate_code) && io.bits(1, "MPEG_1_only_flag", d.MPEG_1_only_flag) &&
               io.bits(1, "constrained_parameter_flag", d.constrained_parameter_flag) &&
               io.bits(1, "still_picture_flag", d.still_picture_flag) &&
               (d.MPEG_1_only_flag != 0 ||
                (io.bits(8, "profile_and_level_indication", d.profile_and_level_indication) &&
                 io.bits(2, "chroma_format", d.chroma_format) &&
                 io.bits(1, "frame_rate_extension_flag", d.frame_rate_extension_flag) &&
                 io.bits(5, "reserved", d.reserved)));
    }

    std::uint8_t multiple_frame_rate_flag = 0;
    std::uint8_t frame_rate_code = 0;
    std::uint8_t MPEG_1_only_flag = 0;
    std::uint8_t constrained_parameter_flag = 0;
    std::uint8_t still_picture_flag = 0;
    /// This and the rest only when MPEG_1_only_flag is 0.
    std::uint8_t profile_and_level_indication = 0;
    std::uint8_t chroma_format = 0;
    std::uint8_t frame_rate_extension_flag = 0;
    std::uint8_t reserved = 0;
};
} // namespace mpegcore
