// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DVB-C channel: ETSI EN 300 468, 6.2.13.1.
class cable_delivery_system_descriptor : public standard_descriptor<cable_delivery_system_descriptor, 0x44>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "frequency", d.frequency) && io.bits(12, "reserved_future_use", d.reserved_future_use) &&
               io.bits(4, "FEC_outer", d.FEC_outer) && io.bits(8, "modulation", d.modulation) &&
               io.bits(28, "symbol_rate", d.symbol_rate) && io.bits(4, "FEC_inner", d.FEC_inner);
    }

    /// Eight BCD digits, units of 100 Hz.
    std::uint32_t frequency = 0;
    std::uint16_t reserved_future_use = 0;
    std::uint8_t FEC_outer = 0;
    std::uint8_t modulation = 0;
    /// Seven BCD digits, units of 100 symbols/s.
    std::uint32_t symbol_rate = 0;
    std::uint8_t FEC_inner = 0;
};
} // namespace mpegcore
