// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstring>

namespace mpegcore
{
/// N bytes that are 0, for an array that begins so: cleared in pieces that compilers turn into a few stores each. For
/// all of it at once GCC takes "rep stos", which takes longer than reading a descriptor.
template <std::size_t N>
[[gnu::always_inline]] inline std::array<unsigned char, N> zero_bytes()
{
    constexpr std::size_t piece = 64;
    std::array<unsigned char, N> bytes;
    std::size_t at = 0;
    for (; at + piece <= N; at += piece)
        std::memset(bytes.data() + at, 0, piece);
    std::memset(bytes.data() + at, 0, N - at);
    return bytes;
}
} // namespace mpegcore
