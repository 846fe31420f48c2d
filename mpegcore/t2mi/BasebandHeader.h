// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/CRC.h"

#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// The BBHEADER in front of a data field (ETSI EN 302 755, 5.1.7).
struct BasebandHeader
{
    static constexpr std::size_t size = 10;      ///< bytes
    static constexpr unsigned no_start = 0xFFFF; ///< SYNCD where no user packet begins in the data field
    static constexpr unsigned normal_mode = 0;   ///< of mode_of(), like the next one
    static constexpr unsigned high_efficiency = 1;
    static constexpr unsigned transport_stream = 3; ///< TS_GS

    /// Of anything that has these fields.
    template <class Self, class Io>
    static bool syntax(Self& h, Io& io)
    {
        return io.bits(2, "TS_GS", h.TS_GS) && io.bits(1, "SIS_MIS", h.SIS_MIS) && io.bits(1, "CCM_ACM", h.CCM_ACM) &&
               io.bits(1, "ISSYI", h.ISSYI) && io.bits(1, "NPD", h.NPD) && io.bits(2, "EXT", h.EXT) &&
               io.bits(8, "ISI", h.ISI) && io.bits(16, "UPL", h.UPL) && io.bits(16, "DFL", h.DFL) &&
               io.bits(8, "SYNC", h.SYNC) && io.bits(16, "SYNCD", h.SYNCD) && io.bits(8, "CRC_8", h.CRC_8);
    }

    /// The mode that is added to the CRC-8 of the 10 bytes at `header`; above 1 the header is damaged.
    static unsigned mode_of(const unsigned char* header) { return crc8_dvb(header, size - 1) ^ header[size - 1]; }

    std::uint8_t TS_GS = 0;   ///< 2 bits: 0 GFPS, 1 GCS, 2 GSE, 3 transport stream
    std::uint8_t SIS_MIS = 0; ///< 1: there is one input stream
    std::uint8_t CCM_ACM = 0; ///< 1: constant coding and modulation
    std::uint8_t ISSYI = 0;
    std::uint8_t NPD = 0;
    std::uint8_t EXT = 0; ///< 2 bits
    std::uint8_t ISI = 0;
    std::uint16_t UPL = 0;   ///< bits; in high efficiency mode the first two bytes of ISSY
    std::uint16_t DFL = 0;   ///< bits
    std::uint8_t SYNC = 0;   ///< in high efficiency mode the third byte of ISSY
    std::uint16_t SYNCD = 0; ///< bits
    std::uint8_t CRC_8 = 0;  ///< as it stands there, with the mode in it
};
} // namespace mpegcore
