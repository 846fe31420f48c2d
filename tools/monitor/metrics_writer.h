// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/survey.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace monitor
{
/// NAME="VALUE", with what the format wants escaped.
[[nodiscard]] std::string label(std::string_view name, std::string_view value);

[[nodiscard]] std::string number(std::uint64_t value);
[[nodiscard]] std::string number(double value);
/// Seconds since 1970 of nanoseconds since then.
[[nodiscard]] std::string seconds(std::uint64_t real_time);
/// Seconds of nanoseconds, nine digits of them.
[[nodiscard]] std::string duration(std::uint64_t nanoseconds);
/// The same with every digit, for sums that grow without end.
[[nodiscard]] std::string whole_duration(std::uint64_t nanoseconds);

enum class type : std::uint8_t
{
    counter,
    gauge,
    histogram,
};

/// Writes metrics in Prometheus' text format, all samples of one behind the other.
class metrics_writer
{
public:
    metrics_writer(std::string& out, const survey& all);

    void begin(std::string_view name, type kind, std::string_view help);
    /// Of the metric begun last, whose name `part` ends.
    void sample(std::string_view labels, std::string_view value, std::string_view part = {});

    /// One of each stream; `value_of` gives the text of its value, empty for none.
    template <class ValueOf>
    void each(std::string_view name, type kind, std::string_view help, ValueOf value_of)
    {
        begin(name, kind, help);
        for (std::size_t at = 0; at < m_streams.size(); ++at)
            if (const std::string value = value_of(*m_all.streams[at]->seen); !value.empty())
                sample(m_streams[at], value);
    }

    /// Any number of each stream: `tell(report, put)`, where `put(labels, value)` writes one.
    template <class Tell>
    void several(std::string_view name, type kind, std::string_view help, Tell tell)
    {
        begin(name, kind, help);
        for (std::size_t at = 0; at < m_streams.size(); ++at)
            tell(*m_all.streams[at], [&](const std::string& labels, const std::string& value) {
                sample(labels.empty() ? m_streams[at] : m_streams[at] + ',' + labels, value);
            });
    }

    /// The histogram of inter-arrival times of each stream.
    void inter_arrival(std::string_view name, std::string_view help);

private:
    std::string& m_out;
    const survey& m_all;
    std::vector<std::string> m_streams; ///< their labels
    std::string m_name;
};
} // namespace monitor
