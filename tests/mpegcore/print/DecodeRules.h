// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <limits>
#include <string>
#include <vector>

// How the words and values of the other decoder's XML correspond to the fields of the JSON. What is not named here has
// the same name and the same value on both sides.
namespace zqtest
{
using Json = nlohmann::ordered_json;

/// "0x1234", "12,345", "-5", "true" or "false"; of other texts a number that no field has.
inline std::int64_t number_of(std::string text)
{
    if (text == "true" || text == "false")
        return text == "true" ? 1 : 0;
    text.erase(std::remove(text.begin(), text.end(), ','), text.end());
    char* end = nullptr;
    const std::int64_t number = std::strtoll(text.c_str(), &end, 0);
    return *end == '\0' ? number : std::numeric_limits<std::int64_t>::min();
}

inline std::int64_t decimal(std::int64_t digits)
{
    return digits == 0 ? 0 : decimal(digits >> 4) * 10 + (digits & 0xF);
}

inline std::string without_spaces(std::string text)
{
    text.erase(std::remove_if(text.begin(), text.end(), [](char letter) { return letter == ' ' || letter == '\n'; }),
               text.end());
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return text;
}

inline std::string hex_of(const std::string& bytes)
{
    std::string hex;
    for (const unsigned char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        hex += digits;
    }
    return hex;
}

/// Whether the field of the object has the value that the XML's text means.
using Check = std::function<bool(const Json& object, const std::string& field, const std::string& text)>;

inline bool same(const Json& object, const std::string& field, const std::string& text)
{
    const Json& value = object.at(field);
    return value.is_string() ? value == text : value == number_of(text);
}

inline bool same_bytes(const Json& object, const std::string& field, const std::string& text)
{
    return object.at(field) == without_spaces(text);
}

/// That side sets a text in lines of its own, where the spaces at its ends cannot be told from the indentation.
inline bool same_without_margins(const Json& object, const std::string& field, const std::string& text)
{
    const auto value = object.at(field).get<std::string>();
    const std::size_t first = value.find_first_not_of(' ');
    return first == std::string::npos ? text.empty()
                                      : value.substr(first, value.find_last_not_of(' ') - first + 1) == text;
}

/// Characters there, bytes here: their standard gives them no character table.
inline bool letters_as_bytes(const Json& object, const std::string& field, const std::string& text)
{
    return object.at(field) == hex_of(text);
}

/// A name there for the value at this index, a number for others.
inline Check named(std::vector<std::string> names)
{
    return [names](const Json& object, const std::string& field, const std::string& text) {
        const auto index = object.at(field).get<std::size_t>();
        return index < names.size() ? names[index] == text : number_of(text) == static_cast<std::int64_t>(index);
    };
}

/// The unit of the standard there, the number as transmitted here.
inline Check times(std::int64_t unit)
{
    return [unit](const Json& object, const std::string& field, const std::string& text) {
        return object.at(field).get<std::int64_t>() * unit == number_of(text);
    };
}

/// The same, transmitted as binary-coded decimal.
inline Check digits_times(std::int64_t unit)
{
    return [unit](const Json& object, const std::string& field, const std::string& text) {
        return decimal(object.at(field).get<std::int64_t>()) * unit == number_of(text);
    };
}

/// "19.2" there, four decimal digits here.
inline bool tenths(const Json& object, const std::string& field, const std::string& text)
{
    const auto value = decimal(object.at(field).get<std::int64_t>());
    return std::to_string(value / 10) + '.' + std::to_string(value % 10) == text;
}

/// Frequencies in Hz there; here in the unit and digits of their coding_type (EN 300 468, 6.2.17).
inline bool listed_frequency(const Json& object, const std::string& field, const std::string& text)
{
    const auto value = object.at(field).get<std::int64_t>();
    const auto type = object.at("coding_type").get<int>();
    return number_of(text) == (type == 1 ? decimal(value) * 10000 : type == 2 ? decimal(value) * 100 : value * 10);
}

/// A page as viewers know it there; magazine, of which 0 means 8, and two digits here.
inline bool teletext_page(const Json& object, const std::string& /*field*/, const std::string& text)
{
    const auto magazine = object.at("teletext_magazine_number").get<std::int64_t>();
    const auto page = decimal(object.at("teletext_page_number").get<std::int64_t>());
    return (magazine == 0 ? 8 : magazine) * 100 + page == number_of(text);
}

/// 16 bits of two's complement, without a sign here.
inline bool with_sign(const Json& object, const std::string& field, const std::string& text)
{
    return static_cast<std::int16_t>(object.at(field).get<std::uint16_t>()) == number_of(text);
}

/// Minutes with a sign there; a polarity, and hours and minutes as four digits here.
inline bool time_offset(const Json& object, const std::string& field, const std::string& text)
{
    const auto digits = decimal(object.at(field).get<std::int64_t>());
    const auto minutes = digits / 100 * 60 + digits % 100;
    return (object.at("local_time_offset_polarity") == 1 ? -minutes : minutes) == number_of(text);
}

/// "2017-08-23 11:00:00" there. All ones, which is no time, is null here, a day of its own there.
inline bool same_time(const Json& object, const std::string& field, std::string text)
{
    if (object.at(field).is_null())
        return object.at(field + "_raw") == "ffffffffff";
    return object.at(field) == text.replace(10, 1, "T") + 'Z';
}

/// "01:47:44" there, "PT1H47M44S" here.
inline bool same_duration(const Json& object, const std::string& field, const std::string& text)
{
    std::string expected = "PT";
    for (const auto& [at, unit] : {std::pair{0, 'H'}, std::pair{3, 'M'}, std::pair{6, 'S'}})
        if (const int number = std::stoi(text.substr(static_cast<std::size_t>(at), 2)); number != 0)
            expected += std::to_string(number) + unit;
    return object.at(field) == (expected == "PT" ? "PT0S" : expected);
}

/// Some makers by their names there.
inline bool private_data_owner(const Json& object, const std::string& field, const std::string& text)
{
    constexpr std::pair<const char*, std::int64_t> owners[]{
        {"Astra", 0x01}, {"EACEM", 0x28}, {"CanalPlus", 0xC0}, {"Eutelsat", 0x55F}};
    for (const auto& [name, value] : owners)
        if (text == name)
            return object.at(field) == value;
    return same(object, field, text);
}

/// FormatID counts as private data there.
inline bool carousel_data(const Json& object, const std::string& field, const std::string& text)
{
    const std::string format(1, static_cast<char>(object.at("FormatID").get<int>()));
    return hex_of(format) + object.at(field).get<std::string>() == without_spaces(text);
}

/// The structures of linkage_types 0x09, 0x0A and 0x0C count as private data there.
inline bool linkage_data(const Json& object, const std::string& field, const std::string& text)
{
    const auto number = [](const Json& in, const char* name, int bytes) {
        std::string big_endian;
        while (bytes-- > 0)
            big_endian += static_cast<char>(in.at(name).get<std::int64_t>() >> (8 * bytes));
        return hex_of(big_endian);
    };
    std::string hex;
    if (object.contains("OUI_data_length")) {
        hex = number(object, "OUI_data_length", 1);
        for (const Json& update : object.at("software_updates"))
            hex += number(update, "OUI", 3) + number(update, "selector_length", 1) +
                   update.at("selector").get<std::string>();
    }
    if (object.contains("table_type"))
        hex += number(object, "table_type", 1);
    if (object.contains("bouquet_id"))
        hex += number(object, "bouquet_id", 2);
    return hex + object.at(field).get<std::string>() == without_spaces(text);
}

/// The time alone there; with its flag in a structure of its own here.
inline bool within_splice_time(const Json& object, const std::string& field, const std::string& text)
{
    return object.at(field).contains("pts_time") && same(object.at(field), "pts_time", text);
}

/// A date there; seconds from 1980-01-06 on here, the leap seconds since then among them.
inline bool splice_time(const Json& object, const std::string& field, const std::string& text)
{
    constexpr std::int64_t epoch = 315964800;
    constexpr std::int64_t leap_seconds = 18;
    std::tm parts{};
    std::sscanf(text.c_str(), "%d-%d-%d %d:%d:%d", &parts.tm_year, &parts.tm_mon, &parts.tm_mday, &parts.tm_hour,
                &parts.tm_min, &parts.tm_sec);
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    return object.at(field).get<std::int64_t>() + epoch - leap_seconds == timegm(&parts);
}

/// One attribute, or one element that holds only text, of the XML.
struct ValueRule
{
    std::string element; ///< in which it stands; "" is any
    std::string name;
    std::string field; ///< of the JSON; "" has no counterpart
    Check check = same;
};

/// Elements within another of the XML.
struct ChildRule
{
    std::string element; ///< in which they stand
    std::string name;
    std::string field;             ///< an array of the JSON or an object; "" is the same object
    std::vector<std::string> keys; ///< attributes that tell entries apart where the two sides order them otherwise
};

const std::vector<ValueRule>& value_rules();
const std::vector<ChildRule>& child_rules();
} // namespace zqtest
