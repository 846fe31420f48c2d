// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DVB-T channel: ETSI EN 300 468, 6.2.13.4.
class terrestrial_delivery_system_descriptor : public standard_descriptor<terrestrial_delivery_system_descriptor, 0x5A>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "centre_frequency", d.centre_frequency) && io.bits(3, "bandwidth", d.bandwidth) &&
               io.bits(1, "priority", d.priority) && io.bits(1, "Time_Slicing_indicator", d.Time_Slicing_indicator) &&
               io.bits(1, "MPE-FEC_indicator", d.MPE_FEC_indicator) &&
               io.bits(2, "reserved_future_use", d.reserved_future_use) &&
               io.bits(2, "constellation", d.constellation) &&
               io.bits(3, "hierarchy_information", d.hierarchy_information) &&
               io.bits(3, "code_rate-HP_stream", d.code_rate_HP_stream) &&
               io.bits(3, "code_rate-LP_stream", d.code_rate_LP_stream) &&
               io.bits(2, "guard_interval", d.guard_interval) && io.bits(2, "transmission_mode", d.transmission_mode) &&
               io.bits(1, "other_frequency_flag", d.other_frequency_flag) &&
               io.bits(32, "reserved_future_use", d.reserved_future_use2);
    }

    /// Units of 10 Hz; all ones where it is not given.
    std::uint32_t centre_frequency = 0;
    std::uint8_t bandwidth = 0;
    std::uint8_t priority = 0;
    /// 0 when it is used, as the next.
    std::uint8_t Time_Slicing_indicator = 0;
    std::uint8_t MPE_FEC_indicator = 0;
    std::uint8_t reserved_future_use = 0;
    std::uint8_t constellation = 0;
    std::uint8_t hierarchy_information = 0;
    std::uint8_t code_rate_HP_stream = 0;
    std::uint8_t code_rate_LP_stream = 0;
    std::uint8_t guard_interval = 0;
    std::uint8_t transmission_mode = 0;
    std::uint8_t other_frequency_flag = 0;
    std::uint32_t reserved_future_use2 = 0;
};
} // namespace mpegcore
