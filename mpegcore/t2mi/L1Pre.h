// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>

namespace mpegcore
{
/// L1-pre signalling without its CRC, 168 bits (ETSI EN 302 755, 7.2.2).
struct L1Pre
{
    template <class Self, class Io>
    static bool syntax(Self& l, Io& io)
    {
        return io.bits(8, "TYPE", l.TYPE) && io.bits(1, "BWT_EXT", l.BWT_EXT) && io.bits(3, "S1", l.S1) &&
               io.bits(4, "S2", l.S2) && io.bits(1, "L1_REPETITION_FLAG", l.L1_REPETITION_FLAG) &&
               io.bits(3, "GUARD_INTERVAL", l.GUARD_INTERVAL) && io.bits(4, "PAPR", l.PAPR) &&
               io.bits(4, "L1_MOD", l.L1_MOD) && io.bits(2, "L1_COD", l.L1_COD) &&
               io.bits(2, "L1_FEC_TYPE", l.L1_FEC_TYPE) && io.bits(18, "L1_POST_SIZE", l.L1_POST_SIZE) &&
               io.bits(18, "L1_POST_INFO_SIZE", l.L1_POST_INFO_SIZE) && io.bits(4, "PILOT_PATTERN", l.PILOT_PATTERN) &&
               io.bits(8, "TX_ID_AVAILABILITY", l.TX_ID_AVAILABILITY) && io.bits(16, "CELL_ID", l.CELL_ID) &&
               io.bits(16, "NETWORK_ID", l.NETWORK_ID) && io.bits(16, "T2_SYSTEM_ID", l.T2_SYSTEM_ID) &&
               io.bits(8, "NUM_T2_FRAMES", l.NUM_T2_FRAMES) && io.bits(12, "NUM_DATA_SYMBOLS", l.NUM_DATA_SYMBOLS) &&
               io.bits(3, "REGEN_FLAG", l.REGEN_FLAG) && io.bits(1, "L1_POST_EXTENSION", l.L1_POST_EXTENSION) &&
               io.bits(3, "NUM_RF", l.NUM_RF) && io.bits(3, "CURRENT_RF_IDX", l.CURRENT_RF_IDX) &&
               io.bits(4, "T2_VERSION", l.T2_VERSION) && io.bits(1, "L1_POST_SCRAMBLED", l.L1_POST_SCRAMBLED) &&
               io.bits(1, "T2_BASE_LITE", l.T2_BASE_LITE) && io.bits(4, "RESERVED", l.RESERVED);
    }

    /// Future extension frames are announced: the last bit of S2.
    bool has_FEF() const { return (S2 & 1U) != 0; }
    /// T2-Lite, by S1.
    bool is_lite() const { return S1 == 3 || S1 == 4; }

    std::uint8_t TYPE = 0;
    std::uint8_t BWT_EXT = 0;
    std::uint8_t S1 = 0;
    std::uint8_t S2 = 0;
    std::uint8_t L1_REPETITION_FLAG = 0;
    std::uint8_t GUARD_INTERVAL = 0;
    std::uint8_t PAPR = 0;
    std::uint8_t L1_MOD = 0;
    std::uint8_t L1_COD = 0;
    std::uint8_t L1_FEC_TYPE = 0;
    std::uint32_t L1_POST_SIZE = 0;      ///< cells
    std::uint32_t L1_POST_INFO_SIZE = 0; ///< bits, without the CRC
    std::uint8_t PILOT_PATTERN = 0;      ///< 0 stands for PP1
    std::uint8_t TX_ID_AVAILABILITY = 0;
    std::uint16_t CELL_ID = 0;
    std::uint16_t NETWORK_ID = 0;
    std::uint16_t T2_SYSTEM_ID = 0;
    std::uint8_t NUM_T2_FRAMES = 0;     ///< in a super-frame
    std::uint16_t NUM_DATA_SYMBOLS = 0; ///< in a frame, the frame closing symbol among them
    std::uint8_t REGEN_FLAG = 0;
    std::uint8_t L1_POST_EXTENSION = 0;
    std::uint8_t NUM_RF = 0;
    std::uint8_t CURRENT_RF_IDX = 0;
    std::uint8_t T2_VERSION = 0;
    std::uint8_t L1_POST_SCRAMBLED = 0;
    std::uint8_t T2_BASE_LITE = 0;
    std::uint8_t RESERVED = 0;
};
} // namespace mpegcore
