// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// What kind of cues a stream carries: ANSI/SCTE 35, 8.2.
class cue_identifier_descriptor : public typed_descriptor<cue_identifier_descriptor, 0x8A>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "cue_stream_type", d.cue_stream_type);
    }

    std::uint8_t cue_stream_type = 0;
};
} // namespace mpegcore
