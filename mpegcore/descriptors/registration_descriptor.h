// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Who defines the format of what it stands with: ISO/IEC 13818-1, 2.6.8.
class registration_descriptor : public standard_descriptor<registration_descriptor, 0x05>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "format_identifier", d.format_identifier) &&
               io.rest("additional_identification_info", d.additional_identification_info);
    }

    /// Four letters that are registered with SMPTE RA.
    std::uint32_t format_identifier = 0;
    std::vector<unsigned char> additional_identification_info;
};
} // namespace mpegcore
