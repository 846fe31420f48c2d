// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Where a DVB-J application lies in its file system: ETSI TS 102 727, 10.9.2.
class dvb_j_application_location_descriptor
    : public application_information_descriptor<dvb_j_application_location_descriptor, 0x04>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.data(8, "base_directory", d.base_directory_length, d.base_directory) &&
               io.data(8, "classpath_extension", d.classpath_extension_length, d.classpath_extension) &&
               io.rest("initial_class", d.initial_class);
    }

    std::uint8_t base_directory_length = 0;
    std::vector<unsigned char> base_directory;
    std::uint8_t classpath_extension_length = 0;
    std::vector<unsigned char> classpath_extension;
    std::vector<unsigned char> initial_class;
};
} // namespace mpegcore
