// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Whose the private descriptors behind it in the loop are: ETSI EN 300 468, 6.2.31.
class private_data_specifier_descriptor : public standard_descriptor<private_data_specifier_descriptor, 0x5F>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "private_data_specifier", d.private_data_specifier);
    }

    std::uint32_t private_data_specifier = 0;
};
} // namespace mpegcore
