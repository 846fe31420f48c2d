// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// What every access unit that a PES packet begins with is: ISO/IEC 13818-1, 2.6.10.
class data_stream_alignment_descriptor : public standard_descriptor<data_stream_alignment_descriptor, 0x06>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "alignment_type", d.alignment_type);
    }

    std::uint8_t alignment_type = 0;
};
} // namespace mpegcore
