// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// AC-3 audio: ETSI EN 300 468, Annex D.3.
class ac3_descriptor : public typed_descriptor<ac3_descriptor, 0x6A>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(1, "component_type_flag", d.component_type_flag) && io.bits(1, "bsid_flag", d.bsid_flag) &&
               io.bits(1, "mainid_flag", d.mainid_flag) && io.bits(1, "asvc_flag", d.asvc_flag) &&
               io.bits(4, "reserved_flags", d.reserved) &&
               (d.component_type_flag == 0 || io.bits(8, "component_type", d.component_type)) &&
               (d.bsid_flag == 0 || io.bits(8, "bsid", d.bsid)) &&
               (d.mainid_flag == 0 || io.bits(8, "mainid", d.mainid)) &&
               (d.asvc_flag == 0 || io.bits(8, "asvc", d.asvc)) && io.rest("additional_info_byte", d.additional_info);
    }

    std::uint8_t component_type_flag = 0;
    std::uint8_t bsid_flag = 0;
    std::uint8_t mainid_flag = 0;
    std::uint8_t asvc_flag = 0;
    std::uint8_t reserved = 0;
    std::uint8_t component_type = 0;
    std::uint8_t bsid = 0;
    std::uint8_t mainid = 0;
    std::uint8_t asvc = 0;
    std::vector<unsigned char> additional_info;
};
} // namespace mpegcore
