// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"
#include "mpegcore/syntax/ZeroBytes.h"

namespace mpegcore
{
/// Name of a network: ETSI EN 300 468, 6.2.27.
class network_name_descriptor : public typed_descriptor<network_name_descriptor, 0x40>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.rest_text("network_name", d.network_name);
    }

    /// descriptor_length bytes as transmitted, with the leading bytes that choose the character table (Annex A).
    std::array<unsigned char, 256> network_name = zero_bytes<256>();
};
} // namespace mpegcore
