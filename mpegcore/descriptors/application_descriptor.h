// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Profiles, visibility and priority of an application: ETSI TS 102 809, 5.3.5.3.
class application_descriptor : public application_information_descriptor<application_descriptor, 0x00>
{
public:
    struct profile
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "application_profile", d.application_profile) &&
                   io.bits(8, "version.major", d.version_major) && io.bits(8, "version.minor", d.version_minor) &&
                   io.bits(8, "version.micro", d.version_micro);
        }

        std::uint16_t application_profile = 0;
        std::uint8_t version_major = 0;
        std::uint8_t version_minor = 0;
        std::uint8_t version_micro = 0;
    };

    struct label
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(8, "transport_protocol_label", d.transport_protocol_label);
        }

        std::uint8_t transport_protocol_label = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "application_profiles_length", d.application_profiles_length) &&
               io.exactly(d.application_profiles_length, [&] { return io.entries(5, "profiles", d.profiles); }) &&
               io.bits(1, "service_bound_flag", d.service_bound_flag) && io.bits(2, "visibility", d.visibility) &&
               io.bits(5, "reserved_future_use", d.reserved_future_use) &&
               io.bits(8, "application_priority", d.application_priority) && io.entries(1, "labels", d.labels);
    }

    /// Bytes that the entries behind it take.
    std::uint8_t application_profiles_length = 0;
    std::vector<profile> profiles;
    std::uint8_t service_bound_flag = 0;
    /// 0 visible to nobody, 1 to applications alone, 3 to users too.
    std::uint8_t visibility = 0;
    std::uint8_t reserved_future_use = 0;
    std::uint8_t application_priority = 0;
    /// Which transport_protocol_descriptors say how the application comes, the preferred one first.
    std::vector<label> labels;
};
} // namespace mpegcore
