// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Component tag of an elementary stream: ETSI EN 300 468, 6.2.39.
class stream_identifier_descriptor : public typed_descriptor<stream_identifier_descriptor, 0x52>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "component_tag", d.component_tag);
    }

    std::uint8_t component_tag = 0;
};
} // namespace mpegcore
