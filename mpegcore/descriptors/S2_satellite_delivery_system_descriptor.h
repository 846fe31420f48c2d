// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// What DVB-S2 has beside the satellite delivery system: ETSI EN 300 468, 6.2.13.3.
class S2_satellite_delivery_system_descriptor
    : public standard_descriptor<S2_satellite_delivery_system_descriptor, 0x79>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(1, "scrambling_sequence_selector", d.scrambling_sequence_selector) &&
               io.bits(1, "multiple_input_stream_flag", d.multiple_input_stream_flag) &&
               io.bits(1, "reserved_zero_future_use", d.reserved_zero_future_use) &&
               io.bits(1, "not_timeslice_flag", d.not_timeslice_flag) &&
               io.bits(2, "reserved_future_use", d.reserved_future_use) && io.bits(2, "TS_GS_mode", d.TS_GS_mode) &&
               (d.scrambling_sequence_selector == 0 ||
                (io.bits(6, "reserved_future_use", d.reserved_future_use2) &&
                 io.bits(18, "scrambling_sequence_index", d.scrambling_sequence_index))) &&
               (d.multiple_input_stream_flag == 0 ||
                io.bits(8, "input_stream_identifier", d.input_stream_identifier)) &&
               (d.not_timeslice_flag != 0 || io.bits(8, "timeslice_number", d.timeslice_number));
    }

    std::uint8_t scrambling_sequence_selector = 0;
    std::uint8_t multiple_input_stream_flag = 0;
    /// backwards_compatibility_indicator in older editions.
    std::uint8_t reserved_zero_future_use = 0;
    std::uint8_t not_timeslice_flag = 0;
    std::uint8_t reserved_future_use = 0;
    std::uint8_t TS_GS_mode = 0;
    /// With the next, when scrambling_sequence_selector is 1.
    std::uint8_t reserved_future_use2 = 0;
    std::uint32_t scrambling_sequence_index = 0;
    /// When multiple_input_stream_flag is 1.
    std::uint8_t input_stream_identifier = 0;
    /// When not_timeslice_flag is 0.
    std::uint8_t timeslice_number = 0;
};
} // namespace mpegcore
