// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ZQSDK
{
/// `value` in decimal in exactly `width` digits: padded with zeros on the left, or, deliberately, cut to its
/// leftmost `width` digits when it has more (1234 in width 3 gives "123").
inline std::string number_to_string(std::size_t width, std::uint32_t value)
{
    std::string digits = std::to_string(value);
    if (digits.size() > width)
        digits.resize(width);
    return std::string(width - digits.size(), '0') + digits;
}

/// Text of a duration after a pattern such as "hhh:mm:ss.ccc": the first "hhh" (else "hh") becomes the hours,
/// "mm" the minutes, "ss" the seconds, "ccc" (else "cc") the milliseconds, each in as many digits as it has
/// letters, by number_to_string. A negative duration gets a leading "-". In width 2 the milliseconds stay
/// milliseconds and lose their last digit; that is meant.
inline std::string toString(std::string_view format, std::chrono::nanoseconds duration)
{
    const std::int64_t count = duration.count();
    // Negated as unsigned, so that the most negative duration has an absolute value too.
    const std::uint64_t total =
        count < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(count) : static_cast<std::uint64_t>(count);
    constexpr std::uint64_t second = 1000000000, minute = 60 * second, hour = 60 * minute;
    const auto hours = static_cast<std::uint32_t>(total / hour);
    const auto minutes = static_cast<std::uint32_t>(total % hour / minute);
    const auto seconds = static_cast<std::uint32_t>(total % minute / second);
    const auto milliseconds = static_cast<std::uint32_t>(total % second / 1000000);

    std::string text{format};
    const auto replace = [&text](std::string_view pattern, std::uint32_t value) {
        const auto at = text.find(pattern);
        if (at == std::string::npos)
            return false;
        text.replace(at, pattern.size(), number_to_string(pattern.size(), value));
        return true;
    };
    if (!replace("hhh", hours))
        replace("hh", hours);
    replace("mm", minutes);
    replace("ss", seconds);
    if (!replace("ccc", milliseconds))
        replace("cc", milliseconds);
    return count < 0 ? "-" + text : text;
}
} // namespace ZQSDK
