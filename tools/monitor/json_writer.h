// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace monitor
{
/// `text` with U+FFFD for whatever is no UTF-8.
[[nodiscard]] std::string valid_utf8(std::string_view text);

/// Appends JSON to a string, with the commas between. Texts may hold any bytes.
class json_writer
{
public:
    explicit json_writer(std::string& out) : m_out(out) {}

    json_writer& open(char bracket); ///< '{' or '['
    json_writer& close(char bracket);
    json_writer& key(std::string_view name);

    json_writer& value(std::string_view text);
    json_writer& value(const char* text) { return value(std::string_view(text)); }
    json_writer& value(bool truth);
    /// With up to six digits; what is no number as null.
    json_writer& value(double number);
    template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>>>
    json_writer& value(Integer number)
    {
        separate();
        m_out += std::to_string(number);
        return *this;
    }
    json_writer& null();

    template <class Value>
    json_writer& member(std::string_view name, const Value& what)
    {
        return key(name).value(what);
    }
    /// A value that is JSON already.
    json_writer& raw(std::string_view json);

private:
    void separate();

    std::string& m_out;
    bool m_first = true; ///< nothing stands in front of the next value
};

/// "2026-01-31T12:00:00.123Z" of nanoseconds since 1970.
[[nodiscard]] std::string iso_time(std::uint64_t real_time);
} // namespace monitor
