// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/L1Pre.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mpegcore
{
/// The configurable part of L1-post signalling (ETSI EN 302 755, 7.2.3.1). What is in it depends on L1-pre.
struct L1PostConfigurable
{
    struct RF
    {
        template <class Self, class Io>
        static bool syntax(Self& r, Io& io)
        {
            return io.bits(3, "RF_IDX", r.RF_IDX) && io.bits(32, "FREQUENCY", r.FREQUENCY);
        }

        std::uint8_t RF_IDX = 0;
        std::uint32_t FREQUENCY = 0; ///< Hz; 0: not known
    };

    struct PLP
    {
        template <class Self, class Io>
        static bool syntax(Self& p, Io& io)
        {
            return io.bits(8, "PLP_ID", p.PLP_ID) && io.bits(3, "PLP_TYPE", p.PLP_TYPE) &&
                   io.bits(5, "PLP_PAYLOAD_TYPE", p.PLP_PAYLOAD_TYPE) && io.bits(1, "FF_FLAG", p.FF_FLAG) &&
                   io.bits(3, "FIRST_RF_IDX", p.FIRST_RF_IDX) && io.bits(8, "FIRST_FRAME_IDX", p.FIRST_FRAME_IDX) &&
                   io.bits(8, "PLP_GROUP_ID", p.PLP_GROUP_ID) && io.bits(3, "PLP_COD", p.PLP_COD) &&
                   io.bits(3, "PLP_MOD", p.PLP_MOD) && io.bits(1, "PLP_ROTATION", p.PLP_ROTATION) &&
                   io.bits(2, "PLP_FEC_TYPE", p.PLP_FEC_TYPE) &&
                   io.bits(10, "PLP_NUM_BLOCKS_MAX", p.PLP_NUM_BLOCKS_MAX) &&
                   io.bits(8, "FRAME_INTERVAL", p.FRAME_INTERVAL) && io.bits(8, "TIME_IL_LENGTH", p.TIME_IL_LENGTH) &&
                   io.bits(1, "TIME_IL_TYPE", p.TIME_IL_TYPE) && io.bits(1, "IN_BAND_A_FLAG", p.IN_BAND_A_FLAG) &&
                   io.bits(1, "IN_BAND_B_FLAG", p.IN_BAND_B_FLAG) && io.bits(11, "RESERVED_1", p.RESERVED_1) &&
                   io.bits(2, "PLP_MODE", p.PLP_MODE) && io.bits(1, "STATIC_FLAG", p.STATIC_FLAG) &&
                   io.bits(1, "STATIC_PADDING_FLAG", p.STATIC_PADDING_FLAG);
        }

        std::uint8_t PLP_ID = 0;
        std::uint8_t PLP_TYPE = 0;         ///< 0 common, 1 and 2 data
        std::uint8_t PLP_PAYLOAD_TYPE = 0; ///< 0 GFPS, 1 GCS, 2 GSE, 3 TS
        std::uint8_t FF_FLAG = 0;
        std::uint8_t FIRST_RF_IDX = 0;
        std::uint8_t FIRST_FRAME_IDX = 0;
        std::uint8_t PLP_GROUP_ID = 0;
        std::uint8_t PLP_COD = 0;
        std::uint8_t PLP_MOD = 0;
        std::uint8_t PLP_ROTATION = 0;
        std::uint8_t PLP_FEC_TYPE = 0;
        std::uint16_t PLP_NUM_BLOCKS_MAX = 0;
        std::uint8_t FRAME_INTERVAL = 0;
        std::uint8_t TIME_IL_LENGTH = 0;
        std::uint8_t TIME_IL_TYPE = 0;
        std::uint8_t IN_BAND_A_FLAG = 0;
        std::uint8_t IN_BAND_B_FLAG = 0;
        std::uint16_t RESERVED_1 = 0;
        std::uint8_t PLP_MODE = 0; ///< 1 normal, 2 high efficiency
        std::uint8_t STATIC_FLAG = 0;
        std::uint8_t STATIC_PADDING_FLAG = 0;
    };

    struct AUX
    {
        template <class Self, class Io>
        static bool syntax(Self& a, Io& io)
        {
            return io.bits(4, "AUX_STREAM_TYPE", a.AUX_STREAM_TYPE) &&
                   io.bits(28, "AUX_PRIVATE_CONF", a.AUX_PRIVATE_CONF);
        }

        std::uint8_t AUX_STREAM_TYPE = 0;
        std::uint32_t AUX_PRIVATE_CONF = 0; ///< 28 bits
    };

    template <class Self, class Io>
    static bool syntax(Self& c, const L1Pre& pre, Io& io)
    {
        return io.bits(15, "SUB_SLICES_PER_FRAME", c.SUB_SLICES_PER_FRAME) && io.bits(8, "NUM_PLP", c.NUM_PLP) &&
               io.bits(4, "NUM_AUX", c.NUM_AUX) && io.bits(8, "AUX_CONFIG_RFU", c.AUX_CONFIG_RFU) &&
               io.counted(pre.NUM_RF, "RFs", c.RFs) &&
               (!pre.has_FEF() || (io.bits(4, "FEF_TYPE", c.FEF_TYPE) && io.bits(22, "FEF_LENGTH", c.FEF_LENGTH) &&
                                   io.bits(8, "FEF_INTERVAL", c.FEF_INTERVAL))) &&
               io.counted(c.NUM_PLP, "configurable_PLPs", c.PLPs) && io.bits(2, "FEF_LENGTH_MSB", c.FEF_LENGTH_MSB) &&
               io.bits(30, "RESERVED_2", c.RESERVED_2) && io.counted(c.NUM_AUX, "configurable_AUXs", c.AUXs);
    }

    /// Bits of it with these counts.
    static std::size_t bits(const L1Pre& pre, std::size_t NUM_PLP, std::size_t NUM_AUX)
    {
        return 67 + 35 * std::size_t{pre.NUM_RF} + (pre.has_FEF() ? 34 : 0) + 89 * NUM_PLP + 32 * NUM_AUX;
    }

    std::uint16_t SUB_SLICES_PER_FRAME = 0; ///< 15 bits
    std::uint8_t NUM_PLP = 0;
    std::uint8_t NUM_AUX = 0; ///< 4 bits
    std::uint8_t AUX_CONFIG_RFU = 0;
    std::vector<RF> RFs; ///< NUM_RF of L1-pre
    std::uint8_t FEF_TYPE = 0;
    std::uint32_t FEF_LENGTH = 0; ///< 22 bits, in elementary periods
    std::uint8_t FEF_INTERVAL = 0;
    std::vector<PLP> PLPs;
    std::uint8_t FEF_LENGTH_MSB = 0; ///< 2 bits
    std::uint32_t RESERVED_2 = 0;    ///< 30 bits
    std::vector<AUX> AUXs;
};
} // namespace mpegcore
