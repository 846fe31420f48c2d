// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Coding of an MPEG audio stream: ISO/IEC 13818-1, 2.6.4.
class audio_stream_descriptor : public typed_descriptor<audio_stream_descriptor, 0x03>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(1, "free_format_flag", d.free_format_flag) && io.bits(1, "ID", d.ID) &&
               io.bits(2, "layer", d.layer) &&
               io.bits(1, "variable_rate_audio_indicator", d.variable_rate_audio_indicator) &&
               io.bits(3, "reserved", d.reserved);
    }

    std::uint8_t free_format_flag = 0;
    std::uint8_t ID = 0;
    std::uint8_t layer = 0;
    std::uint8_t variable_rate_audio_indicator = 0;
    std::uint8_t reserved = 0;
};
} // namespace mpegcore
