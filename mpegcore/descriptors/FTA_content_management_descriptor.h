// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// What may be done with content that is free to air: ETSI EN 300 468, 6.2.18.
class FTA_content_management_descriptor : public standard_descriptor<FTA_content_management_descriptor, 0x7E>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(1, "user_defined", d.user_defined) && io.bits(3, "reserved_future_use", d.reserved_future_use) &&
               io.bits(1, "do_not_scramble", d.do_not_scramble) &&
               io.bits(2, "control_remote_access_over_internet", d.control_remote_access_over_internet) &&
               io.bits(1, "do_not_apply_revocation", d.do_not_apply_revocation);
    }

    std::uint8_t user_defined = 0;
    std::uint8_t reserved_future_use = 0;
    std::uint8_t do_not_scramble = 0;
    std::uint8_t control_remote_access_over_internet = 0;
    std::uint8_t do_not_apply_revocation = 0;
};
} // namespace mpegcore
