// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"
#include "mpegcore/syntax/ZeroBytes.h"

namespace mpegcore
{
/// Name and provider of a service: ETSI EN 300 468, 6.2.33.
class service_descriptor : public typed_descriptor<service_descriptor, 0x48>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "service_type", d.service_type) &&
               io.text(8, "service_provider_name", d.service_provider_name_length, d.service_provider_name) &&
               io.text(8, "service_name", d.service_name_length, d.service_name);
    }

    std::uint8_t service_type = 0;
    std::uint8_t service_provider_name_length = 0;
    /// Names are kept as transmitted, with the leading bytes that choose the character table (Annex A).
    std::array<unsigned char, 256> service_provider_name = zero_bytes<256>();
    std::uint8_t service_name_length = 0;
    std::array<unsigned char, 256> service_name = zero_bytes<256>();
};
} // namespace mpegcore
