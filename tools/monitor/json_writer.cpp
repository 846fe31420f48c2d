// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/json_writer.h"

#include "mpegcore/print/Quoted.h"
#include "mpegcore/text/UTF8.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace monitor
{
std::string valid_utf8(std::string_view text)
{
    std::string valid;
    for (std::size_t at = 0; at < text.size();)
        mpegcore::append_utf8(valid, mpegcore::next_code_point(text, at));
    return valid;
}

void json_writer::separate()
{
    if (!m_first)
        m_out += ',';
    m_first = false;
}

json_writer& json_writer::open(char bracket)
{
    separate();
    m_out += bracket;
    m_first = true;
    return *this;
}

json_writer& json_writer::close(char bracket)
{
    m_out += bracket;
    m_first = false;
    return *this;
}

json_writer& json_writer::key(std::string_view name)
{
    value(name);
    m_out += ':';
    m_first = true;
    return *this;
}

json_writer& json_writer::value(std::string_view text)
{
    separate();
    mpegcore::append_quoted(m_out, valid_utf8(text));
    return *this;
}

json_writer& json_writer::value(bool truth) { return raw(truth ? "true" : "false"); }

json_writer& json_writer::value(double number)
{
    if (!std::isfinite(number))
        return null();
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "%.6g", number);
    return raw(digits.data());
}

json_writer& json_writer::null() { return raw("null"); }

json_writer& json_writer::raw(std::string_view json)
{
    separate();
    m_out += json;
    return *this;
}

std::string iso_time(std::uint64_t real_time)
{
    constexpr std::uint64_t second = 1'000'000'000;
    const auto seconds = static_cast<std::time_t>(real_time / second);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 8> rest{};
    std::snprintf(rest.data(), rest.size(), ".%03uZ", static_cast<unsigned>(real_time % second / 1'000'000));
    return std::string(date.data()) + rest.data();
}
} // namespace monitor
