// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// What an application is for, such as teletext: ETSI TS 102 809, 5.3.5.5.
class application_usage_descriptor : public application_information_descriptor<application_usage_descriptor, 0x16>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "usage_type", d.usage_type);
    }

    /// 1 digital text.
    std::uint8_t usage_type = 0;
};
} // namespace mpegcore
