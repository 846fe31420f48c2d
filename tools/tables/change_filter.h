// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/tables/section_listener.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>

namespace tables
{
/// Tells sections that say something new from repetitions.
///
/// Memory: a hundred bytes a section; when 100 000 have come, all are forgotten, and new again.
class change_filter
{
public:
    enum class news
    {
        first,    ///< of its table and section_number
        changed,  ///< other bytes than the one before
        repeated, ///< the same bytes
    };

    news put(const heard_section& section);

private:
    /// PID, table_id, what tells an EIT or another table from its like, section_number, current_next_indicator.
    using identity = std::array<std::uint16_t, 7>;
    static constexpr std::size_t most = 100'000;

    std::map<identity, std::uint64_t> m_hashes;
};
} // namespace tables
