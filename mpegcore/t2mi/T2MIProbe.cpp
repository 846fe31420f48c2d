// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIProbe.h"

#include "mpegcore/t2mi/T2MIHeader.h"

#include <algorithm>
#include <utility>

namespace mpegcore
{
namespace
{
/// Whether a T2-MI header may stand where the pointer_field says.
bool may_begin_T2MI(const unsigned char* packet)
{
    TransportPayload payload;
    if (!payload.read(packet) || !payload.is_usable() || !payload.payload_unit_start_indicator)
        return false;
    const std::size_t at = payload.size == 0 ? 0 : std::size_t{1} + payload.data[0];
    if (payload.size < at + T2MIHeader::size)
        return false;
    const unsigned char* const header = payload.data + at;
    const bool rfu_is_zero = (header[2] & 0x0FU) == 0 && (header[3] & 0xF8U) == 0;
    return is_known_T2MI_packet_type(header[0]) && rfu_is_zero && (header[4] | header[5]) != 0;
}

/// `enough` of them, and what one transport packet may bring on top.
constexpr std::size_t most_packets = T2MIProbe::enough + ts_payload_size / 10;

std::uint64_t failures(const T2MIPacketGatherer& gatherer)
{
    return gatherer.counters().CRC_32_errors + gatherer.counters().pointer_errors;
}
} // namespace

T2MIProbe::Candidate* T2MIProbe::put(std::uint16_t PID, const unsigned char* packet)
{
    ++m_packets;
    Candidate* candidate = find(PID);
    if (candidate == nullptr && may_begin_T2MI(packet))
        candidate = add(PID);
    if (candidate == nullptr)
        return nullptr;
    candidate->last_put = m_packets;
    candidate->gatherer.put(
        packet,
        [this, candidate](const unsigned char* data, std::size_t size) {
            candidate->packets.push_back({std::exchange(candidate->is_gap, false), {data, data + size}});
            const int t2mi_stream_id = data[3] & 7;
            if (m_stream_id < 0 || t2mi_stream_id == m_stream_id)
                ++candidate->good;
            // Those of other streams would make it grow.
            if (candidate->packets.size() > most_packets)
                candidate->packets.erase(candidate->packets.begin());
        },
        [candidate] { candidate->is_gap = true; });
    return candidate;
}

T2MIProbe::Candidate* T2MIProbe::find(std::uint16_t PID)
{
    const auto found = std::find_if(m_candidates.begin(), m_candidates.end(),
                                    [PID](const auto& candidate) { return candidate->PID == PID; });
    return found != m_candidates.end() ? found->get() : nullptr;
}

T2MIProbe::Candidate* T2MIProbe::add(std::uint16_t PID)
{
    if (m_candidates.size() == limit) {
        const auto badness = [this](const Candidate& candidate) {
            return std::pair(m_packets - candidate.last_put > longest_silence, failures(candidate.gatherer));
        };
        const auto worst =
            std::max_element(m_candidates.begin(), m_candidates.end(),
                             [badness](const auto& one, const auto& other) { return badness(*one) < badness(*other); });
        if (badness(**worst) == std::pair(false, std::uint64_t{0}))
            return nullptr;
        m_candidates.erase(worst);
    }
    m_candidates.push_back(std::make_unique<Candidate>());
    m_candidates.back()->PID = PID;
    return m_candidates.back().get();
}
} // namespace mpegcore
