// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Where content identifiers that start with "/" belong: ETSI TS 102 323, 6.3.1.
class default_authority_descriptor : public standard_descriptor<default_authority_descriptor, 0x73>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.rest("default_authority_byte", d.default_authority_byte);
    }

    /// A name of the domain name system.
    std::vector<unsigned char> default_authority_byte;
};
} // namespace mpegcore
