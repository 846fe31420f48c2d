// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// Payload of a T2-MI packet of type 0x20: when the first T2 frame of the super-frame is to be on air (ETSI TS 102 773,
/// 5.2.7).
struct DVBT2Timestamp
{
    static constexpr std::size_t size = 11; ///< bytes

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io)
    {
        return io.bits(4, "rfu", t.rfu) && io.bits(4, "bw", t.bw) &&
               io.bits(40, "seconds_since_2000", t.seconds_since_2000) && io.bits(27, "subseconds", t.subseconds) &&
               io.bits(13, "utco", t.utco);
    }

    /// All ones: there is no single frequency network.
    bool is_null() const { return seconds_since_2000 == 0xFFFFFFFFFF && subseconds == 0x7FFFFFF && utco == 0x1FFF; }
    /// Counted from a second edge that it does not name.
    bool is_relative() const { return seconds_since_2000 == 0; }
    /// `subseconds` in a second, by `bw`: 131, 40, 48, 56, 64 or 80 millions. 0 for a `bw` that has no meaning.
    std::uint32_t subseconds_per_second() const;
    /// `subseconds` in an elementary period T of the channel.
    std::uint32_t subseconds_per_period() const { return bw == 0 ? 71 : 7; }

    std::uint8_t rfu = 0;                 ///< 4 bits
    std::uint8_t bw = 0;                  ///< 4 bits: 0 to 5 for channels of 1.7, 5, 6, 7, 8, 10 MHz
    std::uint64_t seconds_since_2000 = 0; ///< 40 bits, SI seconds since 2000-01-01T00:00:00 UTC
    std::uint32_t subseconds = 0;         ///< 27 bits, less than subseconds_per_second() but where it is null
    std::uint16_t utco = 0;               ///< 13 bits, seconds that DVB-T2 time is ahead of UTC
};
} // namespace mpegcore
