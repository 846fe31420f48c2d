// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/metrics_writer.h"

#include "tools/monitor/json_writer.h"
#include "zq_net/nanoseconds.h"

#include <array>
#include <cstdio>

namespace monitor
{
namespace
{
/// `value` as it stands between the quotation marks of a label.
std::string escaped(std::string_view value)
{
    std::string text;
    for (const char letter : valid_utf8(value)) {
        if (letter == '\\' || letter == '"')
            text += '\\';
        text += letter == '\n' ? std::string("\\n") : std::string(1, letter);
    }
    return text;
}

const char* name_of(type kind)
{
    return kind == type::counter ? "counter" : kind == type::gauge ? "gauge" : "histogram";
}
} // namespace

std::string label(std::string_view name, std::string_view value)
{
    return std::string(name) + "=\"" + escaped(value) + '"';
}

std::string number(std::uint64_t value) { return std::to_string(value); }
std::string number(double value)
{
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "%.9g", value);
    return digits.data();
}
std::string seconds(std::uint64_t real_time)
{
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "%llu.%03u",
                  static_cast<unsigned long long>(real_time / zq_net::second),
                  static_cast<unsigned>(real_time % zq_net::second / zq_net::ms));
    return digits.data();
}

std::string duration(std::uint64_t nanoseconds)
{
    return number(static_cast<double>(nanoseconds) / static_cast<double>(zq_net::second));
}

std::string whole_duration(std::uint64_t nanoseconds)
{
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "%llu.%09u",
                  static_cast<unsigned long long>(nanoseconds / zq_net::second),
                  static_cast<unsigned>(nanoseconds % zq_net::second));
    std::string text(digits.data());
    text.erase(text.find_last_not_of('0') + 1);
    return text.back() == '.' ? text + '0' : text;
}

metrics_writer::metrics_writer(std::string& out, const survey& all) : m_out(out), m_all(all)
{
    for (const auto& report : all.streams)
        m_streams.push_back(label("stream", report->settings.name));
}

void metrics_writer::begin(std::string_view name, type kind, std::string_view help)
{
    m_name = name;
    m_out.append("# HELP ").append(name).append(" ").append(help).append("\n# TYPE ").append(name);
    m_out.append(" ").append(name_of(kind)).append("\n");
}

void metrics_writer::sample(std::string_view labels, std::string_view value, std::string_view part)
{
    m_out.append(m_name).append(part);
    if (!labels.empty())
        m_out.append("{").append(labels).append("}");
    m_out.append(" ").append(value).append("\n");
}

void metrics_writer::inter_arrival(std::string_view name, std::string_view help)
{
    begin(name, type::histogram, help);
    for (std::size_t at = 0; at < m_streams.size(); ++at) {
        const auto& times = m_all.streams[at]->seen->delivery.total;
        std::uint64_t up_to = 0;
        for (std::size_t bucket = 0; bucket < times.buckets.size(); ++bucket) {
            up_to += times.buckets[bucket];
            const auto edge = bucket < times.edges.size() ? duration(times.edges[bucket]) : "+Inf";
            sample(m_streams[at] + ',' + label("le", edge), number(up_to), "_bucket");
        }
        sample(m_streams[at], whole_duration(times.sum), "_sum");
        sample(m_streams[at], number(times.count), "_count");
    }
}
} // namespace monitor
