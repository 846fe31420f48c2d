// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/tables/table_filter.h"

#include "mpegcore/text/Meanings.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace tables
{
namespace
{
bool is_same_letter(char a, char b)
{
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

bool begins_with_words(std::string_view text, std::string_view words)
{
    return !words.empty() && text.size() >= words.size() &&
           std::equal(words.begin(), words.end(), text.begin(), is_same_letter) &&
           (text.size() == words.size() || text[words.size()] == ' ');
}

template <class T>
bool allows(const std::vector<T>& wanted, T value)
{
    return wanted.empty() || std::find(wanted.begin(), wanted.end(), value) != wanted.end();
}
} // namespace

bool table_filter::wants(std::uint16_t PID, std::uint8_t table_id) const
{
    if (!allows(PIDs, PID) || !allows(table_ids, table_id))
        return false;
    const auto name = mpegcore::meaning_of("table_id", table_id);
    return names.empty() || std::any_of(names.begin(), names.end(),
                                        [name](const std::string& words) { return begins_with_words(name, words); });
}

bool is_table_name(const std::string& name)
{
    for (unsigned table_id = 0; table_id < 0x100; ++table_id)
        if (begins_with_words(mpegcore::meaning_of("table_id", table_id), name))
            return true;
    return false;
}
} // namespace tables
