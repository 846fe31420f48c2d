// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DTS audio: ETSI EN 300 468, Annex G.2.
class DTS_descriptor : public standard_descriptor<DTS_descriptor, 0x7B>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(4, "sample_rate_code", d.sample_rate_code) && io.bits(6, "bit_rate_code", d.bit_rate_code) &&
               io.bits(7, "nblks", d.nblks) && io.bits(14, "fsize", d.fsize) &&
               io.bits(6, "surround_mode", d.surround_mode) && io.bits(1, "lfe_flag", d.lfe_flag) &&
               io.bits(2, "extended_surround_flag", d.extended_surround_flag) &&
               io.rest("additional_info_byte", d.additional_info_byte);
    }

    std::uint8_t sample_rate_code = 0;
    std::uint8_t bit_rate_code = 0;
    std::uint8_t nblks = 0;
    std::uint16_t fsize = 0;
    std::uint8_t surround_mode = 0;
    std::uint8_t lfe_flag = 0;
    std::uint8_t extended_surround_flag = 0;
    std::vector<unsigned char> additional_info_byte;
};
} // namespace mpegcore
