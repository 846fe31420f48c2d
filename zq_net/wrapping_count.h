// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <utility>

namespace zq_net
{
/// Follows a counter of 32 bits, which begins at 0, over its end.
class wrapping_count
{
public:
    /// What was added since the last time; `now` is what the counter says.
    [[nodiscard]] std::uint32_t advance(std::uint32_t now) { return now - std::exchange(m_last, now); }

private:
    std::uint32_t m_last = 0;
};
} // namespace zq_net
