// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DVB-T2 delivery system, extension 0x04 of tag 0x7F: ETSI EN 300 468, 6.4.6.3.
class T2_delivery_system_descriptor : public typed_descriptor<T2_delivery_system_descriptor, 0x7F>
{
public:
    static constexpr std::array places{DescriptorPlace{ZQDescriptorType::TS, 0x7F, 0x04}};

    // Deliberate: always these 6 body bytes, whatever descriptor_length says. The cell loops behind them are not read,
    // and the short form of 4 bytes is not recognised.
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "descriptor_tag_extension", d.descriptor_tag_extension) && io.bits(8, "plp_id", d.plp_id) &&
               io.bits(16, "T2_system_id", d.T2_system_id) && io.bits(2, "SISO_MISO", d.SISO_MISO) &&
               io.bits(4, "bandwidth", d.bandwidth) && io.bits(2, "reserved_future_use", d.reserved_future_use) &&
               io.bits(3, "guard_interval", d.guard_interval) && io.bits(3, "transmission_mode", d.transmission_mode) &&
               io.bits(1, "other_frequency_flag", d.other_frequency_flag) && io.bits(1, "tfs_flag", d.tfs_flag);
    }

    std::uint8_t descriptor_tag_extension = 0;
    std::uint8_t plp_id = 0;
    std::uint16_t T2_system_id = 0;
    std::uint8_t SISO_MISO = 0;
    std::uint8_t bandwidth = 0;
    std::uint8_t reserved_future_use = 0;
    std::uint8_t guard_interval = 0;
    std::uint8_t transmission_mode = 0;
    std::uint8_t other_frequency_flag = 0;
    std::uint8_t tfs_flag = 0;
};
} // namespace mpegcore
