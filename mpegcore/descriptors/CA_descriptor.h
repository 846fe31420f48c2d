// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"
#include "mpegcore/syntax/ZeroBytes.h"

namespace mpegcore
{
/// Conditional access: ISO/IEC 13818-1, 2.6.16.
class CA_descriptor : public typed_descriptor<CA_descriptor, 0x09>
{
public:
    static constexpr std::uint8_t max_length = 4 + 194;

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        if (!io.bits(16, "CA_system_ID", d.CA_system_ID) || !io.bits(3, "reserved", d.reserved) ||
            !io.bits(13, "CA_PID", d.CA_PID) || !io.rest("private_data_byte", d.private_data_byte))
            return false;
        // Only here a length does not stay as read: bytes that the array cannot keep must not be announced on writing.
        if constexpr (Io::reading)
            d.descriptor_length = std::min(d.descriptor_length, max_length);
        return true;
    }

    std::uint16_t CA_system_ID = 0;
    std::uint8_t reserved = 0;
    std::uint16_t CA_PID = 0;
    /// The first descriptor_length - 4 bytes count. Of longer data the first 194 bytes are kept.
    std::array<unsigned char, 194> private_data_byte = zero_bytes<194>();
};
} // namespace mpegcore
