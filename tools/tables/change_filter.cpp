// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/tables/change_filter.h"

#include "mpegcore/sections/WholeTables.h"

#include <functional>
#include <string_view>
#include <utility>

namespace tables
{
change_filter::news change_filter::put(const heard_section& section)
{
    const mpegcore::SectionHeader header(section.data, section.size);
    const auto table = mpegcore::TableIdentity::of(section.PID, header);
    identity key{section.PID,
                 table.table_id,
                 table.table_id_extension,
                 table.transport_stream_id,
                 table.original_network_id,
                 0,
                 0};
    if (header.has_extension()) {
        key[5] = header.section_number();
        key[6] = header.current_next_indicator() ? 1 : 0;
    }
    const std::uint64_t hash =
        std::hash<std::string_view>()({reinterpret_cast<const char*>(section.data), section.size});
    if (m_hashes.size() >= most)
        m_hashes.clear();
    const auto [place, added] = m_hashes.try_emplace(key, hash);
    if (added)
        return news::first;
    return std::exchange(place->second, hash) == hash ? news::repeated : news::changed;
}
} // namespace tables
