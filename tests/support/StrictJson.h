// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <nlohmann/json.hpp>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zqtest
{
/// One line of JSON as a value. Nothing when it is none, has a key twice in an object or a control character.
inline std::optional<nlohmann::ordered_json> strict_json(const std::string& line)
{
    using json = nlohmann::ordered_json;
    for (const char letter : line)
        if (static_cast<unsigned char>(letter) < 0x20)
            return std::nullopt;
    bool twice = false;
    std::vector<std::set<std::string>> objects;
    const json::parser_callback_t note = [&](int, json::parse_event_t event, json& parsed) {
        if (event == json::parse_event_t::object_start)
            objects.emplace_back();
        else if (event == json::parse_event_t::object_end)
            objects.pop_back();
        else if (event == json::parse_event_t::key)
            twice = !objects.back().insert(parsed.get<std::string>()).second || twice;
        return true;
    };
    json value = json::parse(line, note, false);
    if (value.is_discarded() || twice)
        return std::nullopt;
    return value;
}
} // namespace zqtest
