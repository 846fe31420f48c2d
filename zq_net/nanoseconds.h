// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>

namespace zq_net
{
/// Nanoseconds, in which this library counts times.
inline constexpr std::uint64_t ms = 1'000'000, second = 1000 * ms;
} // namespace zq_net
