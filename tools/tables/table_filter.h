// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace tables
{
/// Which tables are wanted: all, or those that meet one condition of each kind that is given.
struct table_filter
{
    std::vector<std::uint16_t> PIDs;
    std::vector<std::uint8_t> table_ids;
    /// Such as "NIT", "NIT actual" or "EIT schedule": the whole words that a table's name begins with, in any case.
    std::vector<std::string> names;

    [[nodiscard]] bool wants(std::uint16_t PID, std::uint8_t table_id) const;
};

/// Whether there is a table whose name begins so.
[[nodiscard]] bool is_table_name(const std::string& name);
} // namespace tables
