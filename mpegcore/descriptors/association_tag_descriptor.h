// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Name of a stream within an object carousel: ISO/IEC 13818-6, 11.4.1 and ETSI TR 101 202, 4.7.7.2.
class association_tag_descriptor : public standard_descriptor<association_tag_descriptor, 0x14>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(16, "association_tag", d.association_tag) && io.bits(16, "use", d.use) &&
               io.bits(8, "selector_length", d.selector_length) &&
               (d.use == 0 && d.selector_length == 8
                    ? io.bits(32, "transaction_id", d.transaction_id) && io.bits(32, "timeout", d.timeout)
                    : io.bytes(d.selector_length, "selector_byte", d.selector_byte)) &&
               io.rest("private_data_byte", d.private_data_byte);
    }

    std::uint16_t association_tag = 0;
    std::uint16_t use = 0;
    /// Bytes from here to private_data_byte.
    std::uint8_t selector_length = 0;
    /// With the next, when use is 0 and selector_length 8: of the DownloadServerInitiate message with the service
    /// gateway. 0xFFFFFFFF is not given.
    std::uint32_t transaction_id = 0;
    /// Microseconds.
    std::uint32_t timeout = 0;
    /// In every other case.
    std::vector<unsigned char> selector_byte;
    std::vector<unsigned char> private_data_byte;
};
} // namespace mpegcore
