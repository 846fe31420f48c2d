// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// AAC and HE-AAC audio: ETSI EN 300 468, Annex H.2.1.
class AAC_descriptor : public standard_descriptor<AAC_descriptor, 0x7C>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "profile_and_level", d.profile_and_level) &&
               (io.body_left() == 0 ||
                (io.bits(1, "AAC_type_flag", d.AAC_type_flag) && io.bits(1, "SAOC_DE_flag", d.SAOC_DE_flag) &&
                 io.bits(6, "reserved_zero_future_use", d.reserved_zero_future_use) &&
                 (d.AAC_type_flag == 0 || io.bits(8, "AAC_type", d.AAC_type)))) &&
               io.rest("additional_info_byte", d.additional_info_byte);
    }

    std::uint8_t profile_and_level = 0;
    /// This and the rest only when the body is longer than profile_and_level.
    std::uint8_t AAC_type_flag = 0;
    std::uint8_t SAOC_DE_flag = 0;
    std::uint8_t reserved_zero_future_use = 0;
    std::uint8_t AAC_type = 0;
    std::vector<unsigned char> additional_info_byte;
};
} // namespace mpegcore
