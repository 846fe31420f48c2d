// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DVB-SH delivery system: ETSI EN 300 468, 6.4.6.2.
class SH_delivery_system_descriptor : public standard_extension<SH_delivery_system_descriptor, 0x05>
{
public:
    struct modulation
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(1, "modulation_type", d.modulation_type) &&
                   io.bits(1, "interleaver_presence", d.interleaver_presence) &&
                   io.bits(1, "interleaver_type", d.interleaver_type) &&
                   io.bits(5, "reserved_future_use", d.reserved_future_use) &&
                   (d.modulation_type != 0 ||
                    (io.bits(2, "polarization", d.polarization) && io.bits(2, "roll_off", d.roll_off) &&
                     io.bits(2, "modulation_mode", d.modulation_mode) && io.bits(4, "code_rate", d.code_rate) &&
                     io.bits(5, "symbol_rate", d.symbol_rate) &&
                     io.bits(1, "reserved_future_use", d.reserved_future_use2))) &&
                   (d.modulation_type == 0 ||
                    (io.bits(3, "bandwidth", d.bandwidth) && io.bits(1, "priority", d.priority) &&
                     io.bits(3, "constellation_and_hierarchy", d.constellation_and_hierarchy) &&
                     io.bits(4, "code_rate", d.code_rate) && io.bits(2, "guard_interval", d.guard_interval) &&
                     io.bits(2, "transmission_mode", d.transmission_mode) &&
                     io.bits(1, "common_frequency", d.common_frequency))) &&
                   (d.interleaver_presence == 0 ||
                    (io.bits(6, "common_multiplier", d.common_multiplier) &&
                     (d.interleaver_type != 0 ||
                      (io.bits(6, "nof_late_taps", d.nof_late_taps) && io.bits(6, "nof_slices", d.nof_slices) &&
                       io.bits(8, "slice_distance", d.slice_distance) &&
                       io.bits(6, "non_late_increments", d.non_late_increments))) &&
                     (d.interleaver_type == 0 || io.bits(2, "reserved_future_use", d.reserved_future_use3))));
        }

        /// 0 TDM, 1 OFDM.
        std::uint8_t modulation_type = 0;
        std::uint8_t interleaver_presence = 0;
        /// 0 long, 1 short.
        std::uint8_t interleaver_type = 0;
        std::uint8_t reserved_future_use = 0;
        /// TDM: this up to reserved_future_use2.
        std::uint8_t polarization = 0;
        std::uint8_t roll_off = 0;
        std::uint8_t modulation_mode = 0;
        std::uint8_t code_rate = 0;
        std::uint8_t symbol_rate = 0;
        std::uint8_t reserved_future_use2 = 0;
        /// OFDM: this up to common_frequency.
        std::uint8_t bandwidth = 0;
        std::uint8_t priority = 0;
        std::uint8_t constellation_and_hierarchy = 0;
        std::uint8_t guard_interval = 0;
        std::uint8_t transmission_mode = 0;
        std::uint8_t common_frequency = 0;
        /// This and the rest when interleaver_presence is 1.
        std::uint8_t common_multiplier = 0;
        /// The next four when interleaver_type is 0.
        std::uint8_t nof_late_taps = 0;
        std::uint8_t nof_slices = 0;
        std::uint8_t slice_distance = 0;
        std::uint8_t non_late_increments = 0;
        std::uint8_t reserved_future_use3 = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "descriptor_tag_extension", d.descriptor_tag_extension) &&
               io.bits(4, "diversity_mode", d.diversity_mode) &&
               io.bits(4, "reserved_future_use", d.reserved_future_use) && io.entries(3, "modulations", d.modulations);
    }

    std::uint8_t descriptor_tag_extension = 0;
    std::uint8_t diversity_mode = 0;
    std::uint8_t reserved_future_use = 0;
    std::vector<modulation> modulations;
};
} // namespace mpegcore
