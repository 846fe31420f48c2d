// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/CommonPLPMerger.h"
#include "mpegcore/t2mi/L1Current.h"
#include "mpegcore/t2mi/T2MIListener.h"
#include "mpegcore/t2mi/T2MIPLPTable.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// Turns the frames of one T2-MI stream into the packets of its PLPs, by what its L1 signalling says of them.
class T2MIPLPs
{
public:
    explicit T2MIPLPs(T2MIListener& listener) : m_listener(listener) { m_chosen.set(); }

    /// As those of T2MIDemultiplexer.
    void choose(const std::bitset<256>& plp_ids) { m_chosen = plp_ids; }
    void set_restore_nulls(bool restore);
    void set_merge_common_PLPs(bool merge);

    /// Takes the payload of a baseband frame packet, which is written to. False when it is too short.
    [[nodiscard]] bool take_frame(unsigned char* payload, std::size_t size);
    /// Takes the payload of an L1-current packet. False when it is bad.
    [[nodiscard]] bool take_L1(const unsigned char* payload, std::size_t size);
    /// Frames may be missing here.
    void note_gap() { m_table.note_gap(); }
    /// Gives packets that wait for those of a common PLP.
    void flush();

    const L1Current* L1() const { return m_has_L1 ? &m_L1 : nullptr; }
    const L1PostConfigurable::PLP* L1_of(std::uint8_t plp_id) const;
    /// For any thread.
    const UserPacketCounters* counters(std::uint8_t plp_id) const;
    /// For any thread, once set_merge_common_PLPs() has been called.
    std::uint64_t merged_packets() const { return m_merger ? m_merger->merged().get() : 0; }

private:
    void merge(std::uint8_t plp_id, const UserPacket& packet, bool is_behind_gap);
    void hand_out(std::uint8_t plp_id, const UserPacket& packet, bool is_behind_gap);
    void follow_L1(const L1Current& L1);

    T2MIListener& m_listener;
    std::bitset<256> m_chosen;
    bool m_restores_nulls = true;
    T2MIPLPTable m_table;
    std::unique_ptr<CommonPLPMerger> m_merger; ///< null unless it is wanted
    std::bitset<256> m_owed_gaps;              ///< in front of null packets that were left out behind it
    bool m_has_L1 = false;
    L1Current m_L1;
    std::vector<unsigned char> m_L1_bytes; ///< of its configuration
};
} // namespace mpegcore
