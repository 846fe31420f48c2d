// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Name of a bouquet: ETSI EN 300 468, 6.2.4.
class bouquet_name_descriptor : public typed_descriptor<bouquet_name_descriptor, 0x47>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.rest_text("bouquet_name", d.bouquet_name);
    }

    /// As transmitted, with the leading bytes that choose the character table (Annex A).
    std::vector<unsigned char> bouquet_name;
};
} // namespace mpegcore
