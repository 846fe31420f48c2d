// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace mpegcore::detail
{
/// One way to compute crc32_mpeg2; all give the same results.
struct CRC32Kernel
{
    using function = std::uint32_t (*)(const unsigned char* data, std::size_t size, std::uint32_t crc);

    const char* name;
    function run;
    bool (*runs_here)(); ///< whether this processor has what `run` needs; asked before `run` is called
};

/// Fastest first; the last runs everywhere.
extern const std::array<CRC32Kernel, 3> crc32_kernels;

/// Portable: several bytes a step from tables derived from the look-up table.
std::uint32_t crc32_sliced(const unsigned char* data, std::size_t size, std::uint32_t crc);
/// Carry-less multiplication, 64 bytes a step.
std::uint32_t crc32_clmul(const unsigned char* data, std::size_t size, std::uint32_t crc);
bool has_clmul();
/// The same on 512-bit registers, 256 bytes a step.
std::uint32_t crc32_wide_clmul(const unsigned char* data, std::size_t size, std::uint32_t crc);
bool has_wide_clmul();
} // namespace mpegcore::detail
