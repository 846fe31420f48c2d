// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace mpegcore
{
/// The dynamic part of L1-post signalling (ETSI EN 302 755, 7.2.3.2). Its loops are as long as the configurable part
/// says.
struct L1PostDynamic
{
    struct PLP
    {
        template <class Self, class Io>
        static bool syntax(Self& p, Io& io)
        {
            return io.bits(8, "PLP_ID", p.PLP_ID) && io.bits(22, "PLP_START", p.PLP_START) &&
                   io.bits(10, "PLP_NUM_BLOCKS", p.PLP_NUM_BLOCKS) && io.bits(8, "RESERVED_2", p.RESERVED_2);
        }

        std::uint8_t PLP_ID = 0;
        std::uint32_t PLP_START = 0;      ///< 22 bits, a cell address
        std::uint16_t PLP_NUM_BLOCKS = 0; ///< 10 bits, FEC blocks of the interleaving frame
        std::uint8_t RESERVED_2 = 0;
    };

    struct AUX
    {
        template <class Self, class Io>
        static bool syntax(Self& a, Io& io)
        {
            return io.bits(48, "AUX_PRIVATE_DYN", a.AUX_PRIVATE_DYN);
        }

        std::uint64_t AUX_PRIVATE_DYN = 0; ///< 48 bits
    };

    template <class Self, class Io>
    static bool syntax(Self& d, std::size_t NUM_PLP, std::size_t NUM_AUX, Io& io)
    {
        return io.bits(8, "FRAME_IDX", d.FRAME_IDX) && io.bits(22, "SUB_SLICE_INTERVAL", d.SUB_SLICE_INTERVAL) &&
               io.bits(22, "TYPE_2_START", d.TYPE_2_START) && io.bits(8, "L1_CHANGE_COUNTER", d.L1_CHANGE_COUNTER) &&
               io.bits(3, "START_RF_IDX", d.START_RF_IDX) && io.bits(8, "RESERVED_1", d.RESERVED_1) &&
               io.counted(NUM_PLP, "dynamic_PLPs", d.PLPs) && io.bits(8, "RESERVED_3", d.RESERVED_3) &&
               io.counted(NUM_AUX, "dynamic_AUXs", d.AUXs);
    }

    /// Bits of it with these counts.
    static std::size_t bits(std::size_t NUM_PLP, std::size_t NUM_AUX) { return 79 + 48 * (NUM_PLP + NUM_AUX); }

    std::uint8_t FRAME_IDX = 0;
    std::uint32_t SUB_SLICE_INTERVAL = 0; ///< 22 bits
    std::uint32_t TYPE_2_START = 0;       ///< 22 bits
    std::uint8_t L1_CHANGE_COUNTER = 0;   ///< super-frames up to the next configuration; 0: none is planned
    std::uint8_t START_RF_IDX = 0;        ///< 3 bits
    std::uint8_t RESERVED_1 = 0;
    std::vector<PLP> PLPs; ///< in the order of the configurable part
    std::uint8_t RESERVED_3 = 0;
    std::vector<AUX> AUXs;
};
} // namespace mpegcore
