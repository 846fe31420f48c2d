// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/DVBT2Timestamp.h"
#include "mpegcore/t2mi/L1Current.h"
#include "mpegcore/t2mi/T2MIHeader.h"
#include "mpegcore/t2mi/UserPacketReader.h"

#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// Who is told what a T2MIDemultiplexer finds. Called inside put(), put_packet() and finish(), none of which it may
/// call; what pointers lead to holds during the call.
class T2MIListener
{
public:
    enum class Warning
    {
        scrambled,              ///< packets of the PID are: they are left out
        not_a_transport_stream, ///< the PLP carries GFPS, GCS or GSE: it gives no packets
        no_T2MI,                ///< came in 5 seconds of the stream, by StreamAge; there is no id
    };

    virtual ~T2MIListener() = default;
    /// A packet of a PLP. `is_behind_gap`: something is missing between it and the one before.
    virtual void on_packet(std::uint8_t /*plp_id*/, const UserPacket&, bool /*is_behind_gap*/) {}
    /// The first frame of a chosen PLP came, also after it had gone.
    virtual void on_PLP_appeared(std::uint8_t /*plp_id*/) {}
    /// L1 no longer lists a PLP that it listed.
    virtual void on_PLP_gone(std::uint8_t /*plp_id*/) {}
    /// L1-pre or the configurable part of L1-post is another than before, or the first one.
    virtual void on_L1_changed(const L1Current&) {}
    virtual void on_timestamp(const DVBT2Timestamp&) {}
    /// A baseband frame of the chosen stream, of any PLP, in its T2-MI packet (ETSI TS 102 773, 5.2.1); before its
    /// packets.
    virtual void on_baseband_frame(const T2MIHeader&, std::uint8_t /*frame_idx*/, std::uint8_t /*plp_id*/,
                                   bool /*intl_frame_start*/)
    {}
    /// Any T2-MI packet of the chosen stream that is no baseband frame; `size` in whole bytes.
    virtual void on_T2MI_packet(const T2MIHeader&, const unsigned char* /*payload*/, std::size_t /*size*/) {}
    /// The PID was chosen, or another one.
    virtual void on_PID(std::uint16_t /*PID*/) {}
    /// Told once for a PID or PLP. `id`: that PID or plp_id.
    virtual void on_warning(Warning, unsigned /*id*/) {}
};
} // namespace mpegcore
