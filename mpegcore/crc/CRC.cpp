// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/CRC.h"

#include "mpegcore/crc/CRC32Kernel.h"

#include <atomic>

namespace mpegcore
{
namespace
{
/// Table n leads over a byte and the n bytes behind it.
constexpr auto crc8_lookups = [] {
    std::array<std::array<std::uint8_t, 256>, 8> tables{detail::crc_lookup_table<std::uint8_t>(0xD5)};
    for (std::size_t table = 1; table < tables.size(); ++table)
        for (std::size_t byte = 0; byte < 256; ++byte)
            tables[table][byte] = tables[0][tables[table - 1][byte]];
    return tables;
}();

std::uint32_t choose_and_run(const unsigned char* data, std::size_t size, std::uint32_t crc);

// Constant-initialised, so that it works from any static constructor; threads that choose at once choose the same.
std::atomic<detail::CRC32Kernel::function> chosen{choose_and_run};

std::uint32_t choose_and_run(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    for (const auto& kernel : detail::crc32_kernels) {
        if (!kernel.runs_here())
            continue;
        chosen.store(kernel.run, std::memory_order_relaxed);
        return kernel.run(data, size, crc);
    }
    return crc32_mpeg2_bytewise(data, size, crc);
}
} // namespace

std::uint32_t crc32_mpeg2_bytewise(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    for (const unsigned char* const end = data + size; data != end; ++data)
        crc = (crc << 8) ^ g_MPEG2_PSI_CRC_32_Lookup[(crc >> 24) ^ *data];
    return crc;
}

std::uint32_t crc32_mpeg2(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    return chosen.load(std::memory_order_relaxed)(data, size, crc);
}

std::uint8_t crc8_dvb(const unsigned char* data, std::size_t size, std::uint8_t crc)
{
    constexpr std::size_t step = crc8_lookups.size();
    for (; size >= step; data += step, size -= step) {
        crc = crc8_lookups[step - 1][crc ^ data[0]];
        for (std::size_t at = 1; at < step; ++at)
            crc ^= crc8_lookups[step - 1 - at][data[at]];
    }
    for (const unsigned char* const end = data + size; data != end; ++data)
        crc = crc8_lookups[0][crc ^ *data];
    return crc;
}
} // namespace mpegcore
