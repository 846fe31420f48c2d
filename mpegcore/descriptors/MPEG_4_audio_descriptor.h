// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Profile and level of MPEG-4 audio: ISO/IEC 13818-1, 2.6.38.
class MPEG_4_audio_descriptor : public standard_descriptor<MPEG_4_audio_descriptor, 0x1C>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "MPEG-4_audio_profile_and_level", d.MPEG_4_audio_profile_and_level);
    }

    std::uint8_t MPEG_4_audio_profile_and_level = 0;
};
} // namespace mpegcore
