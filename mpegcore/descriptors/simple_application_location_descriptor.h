// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Path of an application behind the base of its transport_protocol_descriptor: ETSI TS 102 809, 5.3.7.
class simple_application_location_descriptor
    : public application_information_descriptor<simple_application_location_descriptor, 0x15>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.rest("initial_path_bytes", d.initial_path_bytes);
    }

    /// ASCII, without a selection of a character table.
    std::vector<unsigned char> initial_path_bytes;
};
} // namespace mpegcore
