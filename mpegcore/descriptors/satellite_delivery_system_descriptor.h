// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DVB-S and DVB-S2 carrier: ETSI EN 300 468, 6.2.13.2.
class satellite_delivery_system_descriptor : public standard_descriptor<satellite_delivery_system_descriptor, 0x43>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "frequency", d.frequency) && io.bits(16, "orbital_position", d.orbital_position) &&
               io.bits(1, "west_east_flag", d.west_east_flag) && io.bits(2, "polarization", d.polarization) &&
               io.bits(2, "roll_off", d.roll_off) && io.bits(1, "modulation_system", d.modulation_system) &&
               io.bits(2, "modulation_type", d.modulation_type) && io.bits(28, "symbol_rate", d.symbol_rate) &&
               io.bits(4, "FEC_inner", d.FEC_inner);
    }

    /// Eight BCD digits, units of 10 kHz.
    std::uint32_t frequency = 0;
    /// Four BCD digits, tenths of a degree.
    std::uint16_t orbital_position = 0;
    /// 0 west, 1 east.
    std::uint8_t west_east_flag = 0;
    std::uint8_t polarization = 0;
    /// Of meaning when modulation_system is 1, and else reserved.
    std::uint8_t roll_off = 0;
    /// 0 DVB-S, 1 DVB-S2.
    std::uint8_t modulation_system = 0;
    std::uint8_t modulation_type = 0;
    /// Seven BCD digits, units of 100 symbols/s.
    std::uint32_t symbol_rate = 0;
    std::uint8_t FEC_inner = 0;
};
} // namespace mpegcore
