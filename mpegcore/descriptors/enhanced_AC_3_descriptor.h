// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Enhanced AC-3 audio: ETSI EN 300 468, Annex D.5.
class enhanced_AC_3_descriptor : public standard_descriptor<enhanced_AC_3_descriptor, 0x7A>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(1, "component_type_flag", d.component_type_flag) && io.bits(1, "bsid_flag", d.bsid_flag) &&
               io.bits(1, "mainid_flag", d.mainid_flag) && io.bits(1, "asvc_flag", d.asvc_flag) &&
               io.bits(1, "mixinfoexists", d.mixinfoexists) && io.bits(1, "substream1_flag", d.substream1_flag) &&
               io.bits(1, "substream2_flag", d.substream2_flag) && io.bits(1, "substream3_flag", d.substream3_flag) &&
               (d.component_type_flag == 0 || io.bits(8, "component_type", d.component_type)) &&
               (d.bsid_flag == 0 || io.bits(8, "bsid", d.bsid)) &&
               (d.mainid_flag == 0 || io.bits(8, "mainid", d.mainid)) &&
               (d.asvc_flag == 0 || io.bits(8, "asvc", d.asvc)) &&
               (d.substream1_flag == 0 || io.bits(8, "substream1", d.substream1)) &&
               (d.substream2_flag == 0 || io.bits(8, "substream2", d.substream2)) &&
               (d.substream3_flag == 0 || io.bits(8, "substream3", d.substream3)) &&
               io.rest("additional_info_byte", d.additional_info_byte);
    }

    std::uint8_t component_type_flag = 0;
    std::uint8_t bsid_flag = 0;
    std::uint8_t mainid_flag = 0;
    std::uint8_t asvc_flag = 0;
    std::uint8_t mixinfoexists = 0;
    std::uint8_t substream1_flag = 0;
    std::uint8_t substream2_flag = 0;
    std::uint8_t substream3_flag = 0;
    /// Each of these only when its flag is 1.
    std::uint8_t component_type = 0;
    std::uint8_t bsid = 0;
    std::uint8_t mainid = 0;
    std::uint8_t asvc = 0;
    std::uint8_t substream1 = 0;
    std::uint8_t substream2 = 0;
    std::uint8_t substream3 = 0;
    std::vector<unsigned char> additional_info_byte;
};
} // namespace mpegcore
