// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace ZQSDK
{
namespace detail
{
constexpr std::array<std::uint64_t, 65> masks()
{
    std::array<std::uint64_t, 65> table{};
    for (std::size_t n = 1; n < table.size(); ++n)
        table[n] = (table[n - 1] << 1) | 1U;
    return table;
}
} // namespace detail

/// Entry n has the n lowest bits set: 0 for n = 0, all ones for n = 64.
inline constexpr std::array<std::uint64_t, 65> mask_impl = detail::masks();
} // namespace ZQSDK
