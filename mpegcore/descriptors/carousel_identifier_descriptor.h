// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Object carousel that a service has: ISO/IEC 13818-6, 11.4 and ETSI TR 101 202, 4.7.7.1.
class carousel_identifier_descriptor : public standard_descriptor<carousel_identifier_descriptor, 0x13>
{
public:
    /// What FormatID 0x01 says of the module with the service gateway.
    struct enhanced_boot
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(8, "ModuleVersion", d.ModuleVersion) && io.bits(16, "ModuleId", d.ModuleId) &&
                   io.bits(16, "BlockSize", d.BlockSize) && io.bits(32, "ModuleSize", d.ModuleSize) &&
                   io.bits(8, "CompressionMethod", d.CompressionMethod) &&
                   io.bits(32, "OriginalSize", d.OriginalSize) && io.bits(8, "TimeOut", d.TimeOut) &&
                   io.data(8, "ObjectKey", d.ObjectKey_length, d.ObjectKey);
        }

        std::uint8_t ModuleVersion = 0;
        std::uint16_t ModuleId = 0;
        std::uint16_t BlockSize = 0;
        std::uint32_t ModuleSize = 0;
        std::uint8_t CompressionMethod = 0;
        std::uint32_t OriginalSize = 0;
        std::uint8_t TimeOut = 0;
        std::uint8_t ObjectKey_length = 0;
        std::vector<unsigned char> ObjectKey;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "carousel_id", d.carousel_id) &&
               (io.body_left() == 0 ||
                (io.bits(8, "FormatID", d.FormatID) && (d.FormatID != 0x01 || io.entry("boot", d.boot)))) &&
               io.rest("private_data_byte", d.private_data_byte);
    }

    std::uint32_t carousel_id = 0;
    /// Not there when the body ends before it.
    std::uint8_t FormatID = 0;
    /// When FormatID is 0x01.
    enhanced_boot boot;
    std::vector<unsigned char> private_data_byte;
};
} // namespace mpegcore
