// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Rates and buffer of a recording, in its SIT: ETSI EN 300 468, 7.2.1.
class partial_transport_stream_descriptor : public standard_descriptor<partial_transport_stream_descriptor, 0x63>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(2, "DVB_reserved_future_use", d.DVB_reserved_future_use) &&
               io.bits(22, "peak_rate", d.peak_rate) &&
               io.bits(2, "DVB_reserved_future_use", d.DVB_reserved_future_use2) &&
               io.bits(22, "minimum_overall_smoothing_rate", d.minimum_overall_smoothing_rate) &&
               io.bits(2, "DVB_reserved_future_use", d.DVB_reserved_future_use3) &&
               io.bits(14, "maximum_overall_smoothing_buffer", d.maximum_overall_smoothing_buffer);
    }

    std::uint8_t DVB_reserved_future_use = 0;
    /// Units of 400 bit/s.
    std::uint32_t peak_rate = 0;
    std::uint8_t DVB_reserved_future_use2 = 0;
    /// Units of 400 bit/s. 0x3FFFFF is undefined.
    std::uint32_t minimum_overall_smoothing_rate = 0;
    std::uint8_t DVB_reserved_future_use3 = 0;
    /// Bytes. 0x3FFF is undefined.
    std::uint16_t maximum_overall_smoothing_buffer = 0;
};
} // namespace mpegcore
