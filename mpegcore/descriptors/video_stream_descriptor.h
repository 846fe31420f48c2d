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
        return io.bits(1, d.multiple_frame_rate_flag) && io.bits(4, d.frame_rate_code) &&
               io.bits(1, d.MPEG_1_only_flag) && io.bits(1, d.constrained_parameter_flag) &&
               io.bits(1, d.still_picture_flag) &&
               (d.MPEG_1_only_flag != 0 || (io.bits(8, d.profile_and_level_indication) && io.bits(2, d.chroma_format) &&
                                            io.bits(1, d.frame_rate_extension_flag) && io.bits(5, d.reserved)));
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
