// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DVB-C2 delivery system: ETSI EN 300 468, 6.4.6.1.
class C2_delivery_system_descriptor : public standard_extension<C2_delivery_system_descriptor, 0x0D>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "descriptor_tag_extension", d.descriptor_tag_extension) && io.bits(8, "plp_id", d.plp_id) &&
               io.bits(8, "data_slice_id", d.data_slice_id) &&
               io.bits(32, "C2_System_tuning_frequency", d.C2_System_tuning_frequency) &&
               io.bits(2, "C2_System_tuning_frequency_type", d.C2_System_tuning_frequency_type) &&
               io.bits(3, "active_OFDM_symbol_duration", d.active_OFDM_symbol_duration) &&
               io.bits(3, "guard_interval", d.guard_interval);
    }

    std::uint8_t descriptor_tag_extension = 0;
    std::uint8_t plp_id = 0;
    std::uint8_t data_slice_id = 0;
    /// Hz.
    std::uint32_t C2_System_tuning_frequency = 0;
    std::uint8_t C2_System_tuning_frequency_type = 0;
    std::uint8_t active_OFDM_symbol_duration = 0;
    std::uint8_t guard_interval = 0;
};
} // namespace mpegcore
