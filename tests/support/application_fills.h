// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/zqdescriptorlist.h"

namespace zqtest
{
// The fills of descriptor_registry.h for the classes of the application information table, by tag.

inline void fill(mpegcore::application_descriptor& d)
{
    d.profiles = {{0x0001, 1, 2, 3}, {0x8000, 4, 5, 0xFE}};
    d.application_profiles_length = 10;
    d.service_bound_flag = 1;
    d.visibility = 2;
    d.reserved_future_use = 0x15;
    d.application_priority = 0xC3;
    d.labels = {{7}, {9}};
    d.descriptor_length = 1 + 10 + 2 + 2;
}

inline void fill(mpegcore::application_name_descriptor& d)
{
    d.entries = {{{'e', 'u', 's'}, 2, {'A', 'p'}}, {{'c', 'a', 't'}, 0, {}}, {{'g', 'l', 'g'}, 1, {'B'}}};
    d.descriptor_length = 15;
}

inline void fill(mpegcore::transport_protocol_descriptor& d)
{
    d.protocol_id = 3;
    d.transport_protocol_label = 0x61;
    d.bases = {{3, {'a', ':', '/'}, 2, {{1, {'b'}}, {0, {}}}}, {1, {'c'}, 0, {}}};
    d.descriptor_length = 3 + 4 + 1 + 2 + 1 + 2 + 1;
}

inline void fill(mpegcore::dvb_j_application_descriptor& d)
{
    d.entries = {{2, {'o', 'n'}}, {0, {}}, {1, {'x'}}};
    d.descriptor_length = 6;
}

inline void fill(mpegcore::dvb_j_application_location_descriptor& d)
{
    d.base_directory = {'/', 'a'};
    d.base_directory_length = 2;
    d.classpath_extension = {'/', 'b', 'c'};
    d.classpath_extension_length = 3;
    d.initial_class = {'M', 'a', 'i', 'n'};
    d.descriptor_length = 1 + 2 + 1 + 3 + 4;
}

inline void fill(mpegcore::external_application_authorization_descriptor& d)
{
    d.entries = {{0x00000017, 0x4001, 5}, {0xFEDCBA98, 0xFFFE, 6}};
    d.descriptor_length = 14;
}

inline void fill(mpegcore::application_icons_descriptor& d)
{
    d.icon_locator = {'/', 'i'};
    d.icon_locator_length = 2;
    d.icon_flags = 0x8041;
    d.reserved_future_use = {0xFF, 0xFD};
    d.descriptor_length = 1 + 2 + 2 + 2;
}

inline void fill(mpegcore::simple_application_location_descriptor& d)
{
    d.initial_path_bytes = {'a', '/', 'b'};
    d.descriptor_length = 3;
}

inline void fill(mpegcore::application_usage_descriptor& d)
{
    d.usage_type = 0x81;
    d.descriptor_length = 1;
}

inline void fill(mpegcore::simple_application_boundary_descriptor& d)
{
    d.boundary_extension_count = 3;
    d.entries = {{2, {'h', ':'}}, {0, {}}, {1, {'g'}}};
    d.descriptor_length = 1 + 6;
}
} // namespace zqtest
