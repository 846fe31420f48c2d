// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Applications of others that may go on running with a service: ETSI TS 102 809, 5.3.5.7.
class external_application_authorization_descriptor
    : public application_information_descriptor<external_application_authorization_descriptor, 0x05>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(32, "organisation_id", d.organisation_id) &&
                   io.bits(16, "application_id", d.application_id) &&
                   io.bits(8, "application_priority", d.application_priority);
        }

        std::uint32_t organisation_id = 0;
        std::uint16_t application_id = 0;
        std::uint8_t application_priority = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(7, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
