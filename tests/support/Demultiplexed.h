// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/T2MIDemultiplexer.h"
#include "support/AllocationCounter.h"
#include "support/Stream.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace zqtest
{
inline Bytes null_transport_packet()
{
    Bytes packet(188, 0xFF);
    packet[0] = 0x47;
    packet[1] = 0x1F;
    packet[3] = 0x10;
    return packet;
}

/// Whether all packets of `out` are among those of `in`, in their order.
inline bool is_subsequence(const std::vector<Bytes>& out, const std::vector<Bytes>& in)
{
    auto next = in.begin();
    return std::all_of(out.begin(), out.end(), [&](const Bytes& packet) {
        next = std::find(next, in.end(), packet);
        return next != in.end() && (++next, true);
    });
}

/// A demultiplexer with all that came out of it.
class Demultiplexed : public mpegcore::T2MIDemultiplexer::Listener
{
public:
    using SetUp = std::function<void(mpegcore::T2MIDemultiplexer&)>;

    Demultiplexed() : demultiplexer(std::make_unique<mpegcore::T2MIDemultiplexer>(*this)) {}
    /// Of a whole stream.
    Demultiplexed(const Bytes& stream, const SetUp& set_up, std::size_t piece) : Demultiplexed()
    {
        if (set_up)
            set_up(*demultiplexer);
        feed(stream, piece);
        demultiplexer->finish();
    }
    Demultiplexed(const Demultiplexed&) = delete;
    Demultiplexed& operator=(const Demultiplexed&) = delete;

    /// In pieces that lie in blocks of exactly their size.
    void feed(const Bytes& stream, std::size_t piece = std::size_t{1} << 30)
    {
        for (std::size_t at = 0; at < stream.size(); at += piece) {
            const std::size_t size = std::min(piece, stream.size() - at);
            const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
            std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(at), size, block.get());
            demultiplexer->put(block.get(), size);
        }
    }

    std::map<unsigned, std::vector<Bytes>> packets; ///< by PLP
    std::size_t gaps = 0;
    std::vector<unsigned> appeared, gone, PIDs;
    std::vector<mpegcore::L1Current> L1;
    std::vector<mpegcore::DVBT2Timestamp> timestamps;
    std::vector<std::pair<unsigned, Bytes>> others; ///< packet_type and payload
    std::vector<std::pair<mpegcore::T2MIDemultiplexer::Warning, unsigned>> warnings;
    std::unique_ptr<mpegcore::T2MIDemultiplexer> demultiplexer;

private:
    void on_packet(std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool is_behind_gap) override
    {
        packets[plp_id].emplace_back(packet.data, packet.data + 188);
        gaps += is_behind_gap ? 1 : 0;
    }
    void on_PLP_appeared(std::uint8_t plp_id) override { appeared.push_back(plp_id); }
    void on_PLP_gone(std::uint8_t plp_id) override { gone.push_back(plp_id); }
    void on_L1_changed(const mpegcore::L1Current& changed) override { L1.push_back(changed); }
    void on_timestamp(const mpegcore::DVBT2Timestamp& timestamp) override { timestamps.push_back(timestamp); }
    void on_T2MI_packet(const mpegcore::T2MIHeader& header, const unsigned char* payload, std::size_t size) override
    {
        others.emplace_back(header.packet_type, Bytes(payload, payload + size));
    }
    void on_PID(std::uint16_t PID) override { PIDs.push_back(PID); }
    void on_warning(mpegcore::T2MIDemultiplexer::Warning warning, unsigned id) override
    {
        warnings.emplace_back(warning, id);
    }
};

/// What a demultiplexer makes of a whole stream.
inline Demultiplexed demultiplexed(const Bytes& stream, const Demultiplexed::SetUp& set_up = {},
                                   std::size_t piece = std::size_t{1} << 30)
{
    return Demultiplexed(stream, set_up, piece);
}
} // namespace zqtest
