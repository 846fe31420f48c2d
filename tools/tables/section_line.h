// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/tables/section_listener.h"

#include <string>

namespace tables
{
/// One line about a section: the packet that ends it, PID and table_id, section_length, then table_id_extension,
/// version_number, current_next_indicator, section_number and last_section_number ("-" each where the section has
/// none), then its last four bytes. PID, table_id, table_id_extension and the bytes are hexadecimal.
[[nodiscard]] std::string section_line(const heard_section& section);
} // namespace tables
