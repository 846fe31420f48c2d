// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Conditional access systems of a bouquet, service or event: ETSI EN 300 468, 6.2.5.
class CA_identifier_descriptor : public standard_descriptor<CA_identifier_descriptor, 0x53>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "CA_system_id", d.CA_system_id);
        }

        std::uint16_t CA_system_id = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(2, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
