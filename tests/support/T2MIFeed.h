// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/Demultiplexed.h"
#include "support/PackedT2MI.h"

#include <map>
#include <vector>

namespace zqtest
{
/// The packets of some PLPs in T2-MI packets, one frame a PLP in turn.
class Feed
{
public:
    explicit Feed(std::vector<unsigned> plp_ids, BasebandFormat format = {}, unsigned t2mi_stream_id = 0)
        : sender(t2mi_stream_id)
    {
        for (const unsigned plp_id : plp_ids)
            m_framers.emplace(plp_id, format);
        m_number = 1000 * t2mi_stream_id;
    }

    /// `frames` of each PLP with `data_bytes` each.
    Feed& add(unsigned frames, std::size_t data_bytes)
    {
        for (unsigned frame = 0; frame < frames; ++frame)
            for (auto& [plp_id, framer] : m_framers) {
                while (framer.waiting() < data_bytes) {
                    const Bytes packet = next_packet();
                    framer.add(packet);
                    sent[plp_id].push_back(packet);
                }
                packets.push_back(sender.frame(plp_id, framer.frame(data_bytes)));
            }
        return *this;
    }
    /// What is left over, so that each packet that was sent is whole.
    Feed& end()
    {
        for (auto& [plp_id, framer] : m_framers)
            packets.push_back(sender.frame(plp_id, framer.frame(framer.waiting())));
        return *this;
    }
    Feed& signal()
    {
        packets.push_back(sender.packet(0x20, timestamp_on_air));
        packets.push_back(sender.packet(0x10, L1_on_air));
        return *this;
    }

    T2MISender sender;
    std::vector<Bytes> packets;
    std::map<unsigned, std::vector<Bytes>> sent; ///< by PLP

private:
    Bytes next_packet()
    {
        ++m_number;
        return m_number % 5 == 0 ? null_transport_packet() : numbered_packet(m_number);
    }

    std::map<unsigned, BasebandSender> m_framers;
    unsigned m_number = 0;
};

inline Bytes packed(const std::vector<Bytes>& packets, unsigned PID = T2MI_PID)
{
    Stream stream;
    pack(stream, PID, packets);
    return stream.data;
}

/// PAT and PMT with that one stream.
inline Bytes tables(const std::vector<ListedStream>& streams = {{0x06, T2MI_PID, {}}})
{
    Stream stream;
    stream.section(0, PAT_section({{1, PMT_PID}})).section(PMT_PID, PMT_section(1, streams));
    return stream.data;
}

inline Bytes joined(const std::vector<Bytes>& packets)
{
    Bytes bytes;
    for (const Bytes& packet : packets)
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    return bytes;
}

/// What the decapsulator with the simple rules makes of the same stream.
inline Bytes by_simple_rules(const Bytes& stream, unsigned plp_id)
{
    return decapsulated_stream(stream, plp_id).transport_stream();
}

inline Feed usual_feed()
{
    Feed feed({3});
    feed.add(12, 1500).end();
    return feed;
}
} // namespace zqtest
