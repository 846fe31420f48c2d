// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/tables/local_time.h"

#include "mpegcore/TOT.h"
#include "mpegcore/text/DVBTime.h"
#include "tools/common/parse_number.h"

#include <algorithm>
#include <cctype>

namespace tables
{
namespace
{
constexpr std::uint8_t TOT_table_id = 0x73;
constexpr std::size_t code_size = 3;
constexpr unsigned last_region = 60;
} // namespace

bool parse_region(const std::string& text, mpegcore::LocalTime& local_time)
{
    const auto colon = text.find(':');
    const std::string code = text.substr(0, colon);
    const auto is_letter = [](unsigned char letter) { return std::isalnum(letter) != 0; };
    unsigned region = 0;
    if (code.size() != code_size || !std::all_of(code.begin(), code.end(), is_letter))
        return false;
    if (colon != std::string::npos && (!tools::parse_number(text.substr(colon + 1), region) || region > last_region))
        return false;
    local_time.country_code = code;
    local_time.country_region_id = region;
    return true;
}

void follow_local_time(const heard_section& section, mpegcore::LocalTime& local_time)
{
    if (local_time.country_code.empty() || section.data[0] != TOT_table_id)
        return;
    mpegcore::CTOT tot(nullptr, 0);
    // The reader's interface is not const; it does not write.
    mpegcore::CTOT::Reader reader(const_cast<unsigned char*>(section.data), section.size);
    const auto now = tot.read(reader) ? mpegcore::utc_of(tot.UTC_time) : std::nullopt;
    if (!now)
        return;
    for (const auto& descriptor : tot.descriptors)
        if (const auto offsets = std::dynamic_pointer_cast<mpegcore::local_time_offset_descriptor>(descriptor))
            if (local_time_offset(*offsets, local_time.country_code, local_time.country_region_id, *now)) {
                local_time.offsets = offsets;
                return;
            }
}
} // namespace tables
