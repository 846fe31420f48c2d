// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/syntax/Record.h"
#include "mpegcore/t2mi/DVBT2Timestamp.h"
#include "mpegcore/t2mi/L1Current.h"
#include "mpegcore/t2mi/T2MIHeader.h"

#include <array>

namespace mpegcore
{
bool is_known_T2MI_packet_type(std::uint8_t packet_type)
{
    switch (static_cast<T2MIPacketType>(packet_type)) {
    case T2MIPacketType::baseband_frame:
    case T2MIPacketType::auxiliary_stream:
    case T2MIPacketType::arbitrary_cells:
    case T2MIPacketType::L1_current:
    case T2MIPacketType::L1_future:
    case T2MIPacketType::P2_bias_balancing:
    case T2MIPacketType::DVB_T2_timestamp:
    case T2MIPacketType::individual_addressing:
    case T2MIPacketType::FEF_null:
    case T2MIPacketType::FEF_IQ:
    case T2MIPacketType::FEF_composite:
    case T2MIPacketType::FEF_sub_part:
        return true;
    }
    return false;
}

std::uint32_t DVBT2Timestamp::subseconds_per_second() const
{
    constexpr std::array<std::uint32_t, 6> millions{131, 40, 48, 56, 64, 80};
    return bw < millions.size() ? millions[bw] * 1000000 : 0;
}

namespace
{
struct FFTMode
{
    std::uint32_t size;
    std::uint32_t P2_symbols;
};

/// By the first three bits of S2; T2-Lite has 1K's place for 16K with the short guard intervals.
FFTMode FFT_mode_of(const L1Pre& L1PRE)
{
    constexpr std::array<FFTMode, 8> modes{
        {{2048, 8}, {8192, 2}, {4096, 4}, {1024, 16}, {16384, 1}, {32768, 1}, {8192, 2}, {32768, 1}}};
    const unsigned field = L1PRE.S2 >> 1 & 7U;
    return L1PRE.is_lite() && field == 3 ? FFTMode{16384, 1} : modes[field];
}
} // namespace

std::uint64_t L1Current::T2_frame_periods() const
{
    constexpr std::array<std::uint32_t, 7> guard_in_256ths{8, 16, 32, 64, 2, 38, 19};
    constexpr std::uint32_t P1_periods = 2048;
    if (L1PRE.S1 == 2 || L1PRE.S1 > 4 || L1PRE.GUARD_INTERVAL >= guard_in_256ths.size())
        return 0;
    const FFTMode mode = FFT_mode_of(L1PRE);
    const std::uint64_t symbol = mode.size + mode.size / 256 * guard_in_256ths[L1PRE.GUARD_INTERVAL];
    return P1_periods + (mode.P2_symbols + std::uint64_t{L1PRE.NUM_DATA_SYMBOLS}) * symbol;
}

std::uint64_t L1Current::superframe_periods() const
{
    const std::uint64_t frames = T2_frame_periods() * L1PRE.NUM_T2_FRAMES;
    if (frames == 0 || !L1PRE.has_FEF() || L1CONF.FEF_INTERVAL == 0)
        return frames;
    // T2-Lite has two more bits of the length.
    const std::uint64_t FEF_length = std::uint64_t{L1CONF.FEF_LENGTH_MSB} << 22 | L1CONF.FEF_LENGTH;
    return frames + L1PRE.NUM_T2_FRAMES / L1CONF.FEF_INTERVAL * (L1PRE.is_lite() ? FEF_length : L1CONF.FEF_LENGTH);
}

bool L1Current::read(const unsigned char* payload, std::size_t size) { return read_record(*this, payload, size); }

std::vector<unsigned char> L1Current::payload() const
{
    constexpr std::size_t longest = 8192; // that payload_len can announce
    std::vector<unsigned char> bytes(longest);
    bytes.resize(write_record(*this, bytes.data(), bytes.size()));
    return bytes;
}

void L1Current::measure()
{
    L1PRE.NUM_RF = static_cast<std::uint8_t>(L1CONF.RFs.size());
    L1CONF.NUM_PLP = static_cast<std::uint8_t>(L1CONF.PLPs.size());
    L1CONF.NUM_AUX = static_cast<std::uint8_t>(L1CONF.AUXs.size());
    L1CONF_LEN = static_cast<std::uint16_t>(configurable_bits());
    L1DYN_CURR_LEN = static_cast<std::uint16_t>(dynamic_bits());
    L1PRE.L1_POST_EXTENSION = L1EXT_LEN != 0 ? 1 : 0;
    L1PRE.L1_POST_INFO_SIZE = std::uint32_t{L1CONF_LEN} + L1DYN_CURR_LEN + L1EXT_LEN;
    L1PRE.L1_POST_SIZE = L1_post_cells();
}

std::uint32_t L1Current::L1_post_cells() const
{
    constexpr std::uint32_t CRC_bits = 32, K_bch = 7032, BCH_and_LDPC_bits = 9168;
    constexpr std::array<std::uint32_t, 4> bits_a_cell{1, 2, 4, 6};
    if (L1PRE.L1_MOD >= bits_a_cell.size())
        return 0;
    const std::uint32_t bits = bits_a_cell[L1PRE.L1_MOD];
    const std::uint32_t all = L1PRE.L1_POST_INFO_SIZE + CRC_bits;
    const std::uint32_t blocks = (all + K_bch - 1) / K_bch;
    const std::uint32_t signalling = (all + blocks - 1) / blocks;
    const std::uint32_t punctured = 6 * (K_bch - signalling) / 5;
    const std::uint32_t sent = signalling + BCH_and_LDPC_bits - punctured;
    const std::uint32_t P2_symbols = FFT_mode_of(L1PRE).P2_symbols;
    const std::uint32_t unit = bits * (P2_symbols == 1 ? 2 : P2_symbols);
    return blocks * ((sent + unit - 1) / unit * unit / bits);
}
} // namespace mpegcore
