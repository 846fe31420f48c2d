// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/tables/table_view.h"

#include "mpegcore/PrivateSection.h"
#include "mpegcore/text/Meanings.h"

#include <cstdio>

namespace tables
{
namespace
{
constexpr unsigned indent = 2;

/// "NIT actual on PID 0x0010, version 5, section 0 of 0 to 1, packet 77".
std::string title(const heard_section& section)
{
    const mpegcore::SectionHeader header(section.data, section.size);
    const auto name = mpegcore::meaning_of("table_id", header.table_id());
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "table_id 0x%02X", header.table_id());
    std::string line = name.empty() || name == "user defined" ? text.data() : std::string(name);
    std::snprintf(text.data(), text.size(), " on PID 0x%04X", section.PID);
    line += text.data();
    if (header.has_extension()) {
        std::snprintf(text.data(), text.size(), ", version %u, section %u of 0 to %u", header.version_number(),
                      header.section_number(), header.last_section_number());
        line += text.data();
        if (!header.current_next_indicator())
            line += ", not yet current";
    }
    return line + ", packet " + std::to_string(section.packet);
}
} // namespace

std::string json_line(const heard_section& section, const mpegcore::PrintOptions& options)
{
    const auto table = mpegcore::table_of_section(section.data, section.size);
    if (table == nullptr)
        return {};
    std::string line =
        "{\"PID\":" + std::to_string(section.PID) + ",\"packet\":" + std::to_string(section.packet) + ',';
    const std::size_t brace = line.size();
    mpegcore::append_json(line, *table, options);
    return line.erase(brace, 1);
}

std::string readable(const heard_section& section, const mpegcore::PrintOptions& options, bool highlighted)
{
    std::string text = highlighted ? "\033[1;36m" + title(section) + "\033[0m\n" : title(section) + '\n';
    if (const auto table = mpegcore::table_of_section(section.data, section.size))
        mpegcore::append_text(text, *table, indent, options);
    if (text.back() == '\n')
        text.pop_back();
    return text;
}
} // namespace tables
