// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/L1PostConfigurable.h"
#include "mpegcore/t2mi/L1PostDynamic.h"
#include "mpegcore/t2mi/L1Pre.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mpegcore
{
/// Payload of a T2-MI packet of type 0x10: the L1 signalling of one T2 frame (ETSI TS 102 773, 5.2.4).
struct L1Current
{
    /// Reads the payload of `size` bytes. False when it is too short or one of its lengths is not that of what L1-pre
    /// and the counts announce; the fields then have no meaning.
    [[nodiscard]] bool read(const unsigned char* payload, std::size_t size);
    /// The payload that reads as this; lengths and counts are written as they are stored.
    std::vector<unsigned char> payload() const;
    /// Sets the lengths, counts and L1_POST_SIZE that the contents and L1-pre need.
    void measure();
    /// L1_POST_SIZE by L1_POST_INFO_SIZE, L1_MOD and S2 (ETSI EN 302 755, 7.3.1.2); 0 for a reserved L1_MOD.
    std::uint32_t L1_post_cells() const;

    template <class Self, class Io>
    static bool syntax(Self& l, Io& io)
    {
        return io.bits(8, "frame_idx", l.frame_idx) && io.bits(2, "freq_source", l.freq_source) &&
               io.bits(6, "rfu", l.rfu) && io.entry("L1PRE", l.L1PRE) && io.bits(16, "L1CONF_LEN", l.L1CONF_LEN) &&
               L1PostConfigurable::syntax(l.L1CONF, l.L1PRE, io) && l.L1CONF_LEN == l.configurable_bits() &&
               padding(l.L1CONF_LEN, l.L1CONF_padding, io) && io.bits(16, "L1DYN_CURR_LEN", l.L1DYN_CURR_LEN) &&
               L1PostDynamic::syntax(l.L1DYN_CURR, l.L1CONF.NUM_PLP, l.L1CONF.NUM_AUX, io) &&
               l.L1DYN_CURR_LEN == l.dynamic_bits() && padding(l.L1DYN_CURR_LEN, l.L1DYN_CURR_padding, io) &&
               io.bits(16, "L1EXT_LEN", l.L1EXT_LEN) && io.bytes((l.L1EXT_LEN + std::size_t{7}) / 8, "L1EXT", l.L1EXT);
    }

    /// Elementary periods T from the start of a T2 frame to that of the next one, without future extension frames, and
    /// of a whole super-frame with them (ETSI EN 302 755, 8.3). 0 where L1 has reserved values.
    std::uint64_t T2_frame_periods() const;
    std::uint64_t superframe_periods() const;

    /// Bits that the two parts take by L1-pre and their counts.
    std::size_t configurable_bits() const { return L1PostConfigurable::bits(L1PRE, L1CONF.NUM_PLP, L1CONF.NUM_AUX); }
    std::size_t dynamic_bits() const { return L1PostDynamic::bits(L1CONF.NUM_PLP, L1CONF.NUM_AUX); }

    std::uint8_t frame_idx = 0;
    std::uint8_t freq_source = 0; ///< 2 bits
    std::uint8_t rfu = 0;         ///< 6 bits
    L1Pre L1PRE;
    std::uint16_t L1CONF_LEN = 0; ///< bits
    L1PostConfigurable L1CONF;
    std::uint8_t L1CONF_padding = 0;  ///< up to a whole byte
    std::uint16_t L1DYN_CURR_LEN = 0; ///< bits
    L1PostDynamic L1DYN_CURR;
    std::uint8_t L1DYN_CURR_padding = 0;
    std::uint16_t L1EXT_LEN = 0;      ///< bits
    std::vector<unsigned char> L1EXT; ///< padded to whole bytes

private:
    template <class Field, class Io>
    static bool padding(std::size_t bits, Field& field, Io& io)
    {
        return bits % 8 == 0 || io.bits(static_cast<unsigned>(8 - bits % 8), "padding", field);
    }
};
} // namespace mpegcore
