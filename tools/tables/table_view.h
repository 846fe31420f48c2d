// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TablePrinter.h"
#include "tools/tables/section_listener.h"

#include <string>

namespace tables
{
/// One section as an object of JSON in one line: its PID, the number of the packet that ends it, and its fields as
/// TablePrinter.h says. Empty for a section that is not whole.
[[nodiscard]] std::string json_line(const heard_section& section, const mpegcore::PrintOptions& options);

/// The same to read: a line that names the table, highlighted for a terminal on demand, and the fields below it, each
/// line with a line break but the last.
[[nodiscard]] std::string readable(const heard_section& section, const mpegcore::PrintOptions& options,
                                   bool highlighted);
} // namespace tables
