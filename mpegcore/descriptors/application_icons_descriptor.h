// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Icons of an application: ETSI TS 102 809, 5.3.5.6.3.
class application_icons_descriptor : public application_information_descriptor<application_icons_descriptor, 0x0B>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.data(8, "icon_locator", d.icon_locator_length, d.icon_locator) &&
               io.bits(16, "icon_flags", d.icon_flags) && io.rest("reserved_future_use", d.reserved_future_use);
    }

    std::uint8_t icon_locator_length = 0;
    /// Directory of the icons, ASCII.
    std::vector<unsigned char> icon_locator;
    /// One bit for each size and shape that is there.
    std::uint16_t icon_flags = 0;
    std::vector<unsigned char> reserved_future_use;
};
} // namespace mpegcore
