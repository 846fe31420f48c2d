// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/DataAccumulator.h"
#include "mpegcore/TransportPacket.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace mpegcore
{
class PayloadUnitBudget;

/// State of one PID: last continuity counter, bytes and bit rate between PCRs, and the payload unit (PES packet or
/// PSI sections) being collected from one payload_unit_start_indicator to the next.
///
/// Memory: two buffers of 4095 bytes from the first packet on; a buffer that fills up is doubled. A unit that would
/// pass `max_unit_size`, or for which the budget has nothing left, is discarded, and its buffer shrinks to its
/// first size; collecting begins afresh with the next unit start. When the budget runs short, the unit completed last
/// is gone as well. Where a parser keeps the PID, both buffers are given back when it had no packet for long, and a
/// unit without an end is discarded: one of more than 64 kB, which only video may have, that goes on for
/// `most_sweeps` times as long, and one of more than 1 MB that goes on for twice as long. An error that sets
/// payload_unit_start_indicator begins such a unit on a PID without any.
///
/// One cache line each: a multiplex visits many of them in no order.
class alignas(64) CBasePID
{
public:
    static constexpr std::size_t first_capacity = 4095;
    static constexpr std::size_t max_unit_size = std::size_t{16} << 20;
    static constexpr std::uint8_t most_sweeps = 16, most_sweeps_of_a_long_unit = 2;
    static constexpr std::size_t long_unit = std::size_t{1} << 20;

    CBasePID() { CBasePID::clear(); }
    virtual ~CBasePID();
    CBasePID(const CBasePID&) = delete;
    CBasePID& operator=(const CBasePID&) = delete;

    /// Forgets counter, byte count, PCR and units. The bit rate and the buffers stay.
    virtual void clear();
    /// Counts the payload (184 bytes also for a packet without payload), notes the continuity counter, collects.
    /// The unit that this packet completed, possibly empty, or null; it holds until the PID's next packet.
    virtual CDataAccumulator* putPacket(const transport_packet& packet)
    {
        bytes += packet.payload_size;
        if (packet.PID == null_packet_PID)
            return nullptr;
        counter(packet);
        return accumulation(packet);
    }
    /// Bits per second since the last PCR, stored and returned. Without a PCR before, the value means nothing; a
    /// repeated PCR gives INT64_MIN and one that goes back gives 0.
    virtual std::int64_t putPCR(const transport_packet& packet);

    /// Stores the continuity_counter; by design nothing is compared with it.
    void counter(const transport_packet& packet) { continuity_counter = packet.continuity_counter; }
    /// The collecting of putPacket.
    CDataAccumulator* accumulation(const transport_packet& packet)
    {
        if (completed == nullptr)
            create_buffers();
        if ((packet.adaptation_field_control & 1U) == 0)
            return nullptr;
        had_packet = heard;
        CDataAccumulator* result = nullptr;
        if (packet.payload_unit_start_indicator != 0) {
            std::swap(collecting, completed);
            collecting->size = 0;
            started = 1;
            sweeps = 0;
            result = completed;
        } else if (started == 0) {
            return nullptr;
        }
        if (make_room(packet.payload_size))
            append(packet);
        return result;
    }
    /// putPacket for a packet with nothing but payload that starts no unit, behind another packet of the PID.
    void putPlainPacket(const unsigned char* packet)
    {
        bytes += ts_payload_size;
        continuity_counter = packet[3] & 0x0FU;
        had_packet = heard;
        if (started == 0 || !make_room(ts_payload_size))
            return;
        std::memcpy(collecting->data + collecting->size, packet + ts_header_size, ts_payload_size);
        collecting->size += ts_payload_size;
    }
    /// Forgets the unit being collected; collecting begins afresh with the next unit start.
    void drop_unit()
    {
        if (started != 0 && collecting != nullptr)
            collecting->size = 0;
        started = 0;
    }
    /// Growth of this PID's buffers is taken from `shared_budget`, which must outlive the PID; null: only
    /// max_unit_size limits. To be set before the first packet.
    void set_budget(PayloadUnitBudget* shared_budget) { m_budget = shared_budget; }
    /// Shrinks to their first size the buffer of the unit completed last and, if empty, of the one being collected.
    void release_idle();
    /// Discards the unit being collected unless the PID had a packet since the last call.
    void give_up_if_silent();
    /// Gives back both buffers, and what is in them, unless the PID had a packet since the last call; with `keeps_unit`
    /// only what release_idle() does. Discards a unit without an end.
    void release_if_silent(bool keeps_unit);

    std::uint8_t continuity_counter = 0xFF; ///< 0xFF after clear()
    std::uint8_t started = 0;               ///< 1 once a unit start was seen
    std::uint8_t had_packet = 0;            ///< 1 from a payload on until give_up_if_silent() or release_if_silent()
    std::uint8_t sweeps = 0;                ///< calls of release_if_silent() that found this unit longer than 64 kB
    std::uint64_t bytes = 0;                ///< payload bytes since the last PCR
    std::uint64_t last_pcr = 0;             ///< in 100 ns
    std::int64_t bitrate = 0;               ///< bits per second between the last two PCRs
    CDataAccumulator* collecting = nullptr; ///< owned; the unit being collected
    CDataAccumulator* completed = nullptr;  ///< owned; the unit before it

private:
    /// Values of had_packet: since both, only since one of them was called last.
    static constexpr std::uint8_t heard = 1, heard_since_give_up = 2, heard_since_release = 3;

    void create_buffers();
    void release(CDataAccumulator*& buffer);
    /// False when there is no room, the unit being discarded.
    [[nodiscard]] bool make_room(std::size_t size)
    {
        return size <= collecting->capacity - collecting->size || grow(collecting->size + size) || discard_unit();
    }
    void append(const transport_packet& packet)
    {
        unsigned char* const end = collecting->data + collecting->size;
        // With its size known at compile time, the usual copy takes no call.
        if (packet.payload_size == ts_payload_size)
            std::memcpy(end, packet.payload, ts_payload_size);
        else
            std::copy_n(packet.payload, packet.payload_size, end);
        collecting->size += packet.payload_size;
    }
    [[nodiscard]] bool grow(std::size_t needed);
    bool discard_unit();
    void shrink(CDataAccumulator*& buffer);

    PayloadUnitBudget* m_budget = nullptr;
};
} // namespace mpegcore
