// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mpegcore
{
/// The checks of ETSI TR 101 290, 5.2 and 11.2.2, that are made; named as the standard names them.
enum class Check : std::uint8_t
{
    TS_sync_loss,
    Sync_byte_error,
    PAT_error_2,
    Continuity_count_error,
    PMT_error_2,
    PID_error,
    Transport_error,
    CRC_error,
    PCR_repetition_error,
    PCR_discontinuity_indicator_error,
    PTS_error,
    CAT_error,
    NIT_actual_error,
    NIT_other_error,
    SI_repetition_error,
    Unreferenced_PID,
    SDT_actual_error,
    SDT_other_error,
    EIT_actual_error,
    EIT_other_error,
    EIT_PF_error,
    RST_error,
    TDT_error,
    T2MI_packet_type_error_2,
    T2MI_packet_count_error,
    T2MI_CRC_error,
    T2MI_payload_error,
    T2MI_plp_num_blocks_error,
    T2MI_transmission_order_error,
    T2MI_DVB_T2_Timestamp_error,
    T2MI_DVB_T2_Timestamp_discontinuity,
};

/// How the standard names a check.
struct CheckName
{
    Check check;
    std::string_view number;
    std::string_view name;
    unsigned priority; ///< 1 to 3; 0 for those of T2-MI, which have none
};

/// The one list of all checks, in the order of the standard; the place of a check in it is its value.
inline constexpr std::array TR101290_checks{
    CheckName{Check::TS_sync_loss, "1.1", "TS_sync_loss", 1},
    CheckName{Check::Sync_byte_error, "1.2", "Sync_byte_error", 1},
    CheckName{Check::PAT_error_2, "1.3.a", "PAT_error_2", 1},
    CheckName{Check::Continuity_count_error, "1.4", "Continuity_count_error", 1},
    CheckName{Check::PMT_error_2, "1.5.a", "PMT_error_2", 1},
    CheckName{Check::PID_error, "1.6", "PID_error", 1},
    CheckName{Check::Transport_error, "2.1", "Transport_error", 2},
    CheckName{Check::CRC_error, "2.2", "CRC_error", 2},
    CheckName{Check::PCR_repetition_error, "2.3.a", "PCR_repetition_error", 2},
    CheckName{Check::PCR_discontinuity_indicator_error, "2.3.b", "PCR_discontinuity_indicator_error", 2},
    CheckName{Check::PTS_error, "2.5", "PTS_error", 2},
    CheckName{Check::CAT_error, "2.6", "CAT_error", 2},
    CheckName{Check::NIT_actual_error, "3.1.a", "NIT_actual_error", 3},
    CheckName{Check::NIT_other_error, "3.1.b", "NIT_other_error", 3},
    CheckName{Check::SI_repetition_error, "3.2", "SI_repetition_error", 3},
    CheckName{Check::Unreferenced_PID, "3.4.a", "Unreferenced_PID", 3},
    CheckName{Check::SDT_actual_error, "3.5.a", "SDT_actual_error", 3},
    CheckName{Check::SDT_other_error, "3.5.b", "SDT_other_error", 3},
    CheckName{Check::EIT_actual_error, "3.6.a", "EIT_actual_error", 3},
    CheckName{Check::EIT_other_error, "3.6.b", "EIT_other_error", 3},
    CheckName{Check::EIT_PF_error, "3.6.c", "EIT_PF_error", 3},
    CheckName{Check::RST_error, "3.7", "RST_error", 3},
    CheckName{Check::TDT_error, "3.8", "TDT_error", 3},
    CheckName{Check::T2MI_packet_type_error_2, "11.2.2.2", "T2MI_packet_type_error_2", 0},
    CheckName{Check::T2MI_packet_count_error, "11.2.2.3", "T2MI_packet_count_error", 0},
    CheckName{Check::T2MI_CRC_error, "11.2.2.4", "T2MI_CRC_error", 0},
    CheckName{Check::T2MI_payload_error, "11.2.2.5", "T2MI_payload_error", 0},
    CheckName{Check::T2MI_plp_num_blocks_error, "11.2.2.6", "T2MI_plp_num_blocks_error", 0},
    CheckName{Check::T2MI_transmission_order_error, "11.2.2.7", "T2MI_transmission_order_error", 0},
    CheckName{Check::T2MI_DVB_T2_Timestamp_error, "11.2.2.8", "T2MI_DVB-T2_Timestamp_error", 0},
    CheckName{Check::T2MI_DVB_T2_Timestamp_discontinuity, "11.2.2.9", "T2MI_DVB-T2_Timestamp_discontinuity", 0},
};

enum class CheckState : std::uint8_t
{
    not_applicable, ///< nothing to check: no synchronisation, or the stream has none of what is checked
    ok,
    failing, ///< an error lasts, or one came less than a second ago
};

/// Why a check failed; each has a text.
enum class Finding : std::uint8_t
{
    none,
    sync_bytes,         ///< value: wrong ones in a row
    input_gone,         ///< value: milliseconds
    sync_by_receiver,   ///< told by whoever cut the bytes into packets
    sync_byte,          ///< value: what stood there
    absent,             ///< value: milliseconds that it has not come
    foreign_table,      ///< value: table_id
    is_scrambled,       ///< value: transport_scrambling_control
    packets_missing,    ///< value: how many, modulo 16
    repeated_again,     ///< the packet came more than twice
    repeated_otherwise, ///< the counter stands still, the bytes are others
    counted_without_payload,
    transport_error_indicator,
    CRC_32,         ///< value: table_id
    PCR_interval,   ///< value: milliseconds by arrival
    PCR_step,       ///< value: milliseconds from one PCR to the next, modulo their range
    too_close,      ///< value: microseconds behind the section before
    table_absent,   ///< value: table_id << 32 | milliseconds
    section_absent, ///< value: table_id << 40 | section_number << 32 | milliseconds
    pf_incomplete,  ///< value: service_id << 8 | section_number that is missing
    unreferenced,   ///< no table names the PID
    no_CAT,         ///< value: milliseconds
    packet_type,    ///< value: packet_type
    packet_count,   ///< it does not follow
    T2MI_CRC_32,
    T2MI_payload,    ///< value: packet_type
    PLP_blocks,      ///< value: plp_id << 48 | PLP_NUM_BLOCKS << 32 | baseband frames that came
    frame_behind_L1, ///< value: plp_id
    L1_goes_back,    ///< value: frame_idx
    timestamps_differ,
    timestamp_step, ///< value: units of 1/subseconds_per_second
};

/// What one check came to.
struct CheckRecord
{
    static constexpr std::uint16_t no_PID = 0xFFFF;

    CheckState state = CheckState::not_applicable;
    Finding finding = Finding::none; ///< of the last error
    std::uint16_t PID = no_PID;      ///< of the last error, or no_PID
    std::uint64_t value = 0;         ///< what belongs to the finding
    std::uint64_t count = 0;         ///< errors; one that lasts counts once
    std::uint64_t error_seconds = 0; ///< seconds of the clock with at least one error, or while one lasts
    std::uint64_t first = 0;         ///< ns of the caller's clock; 0 without error
    std::uint64_t last = 0;          ///< the same; of an error that lasts, when it was looked at last

    /// The last error in a few words, without its PID; empty without error.
    std::string detail() const;
};

/// The records of all checks of one stream.
class TR101290
{
public:
    static constexpr std::size_t size = TR101290_checks.size();

    const CheckRecord& operator[](Check check) const { return m_records[index(check)]; }
    /// Checks of this priority whose state is failing.
    std::size_t failing(unsigned priority) const;

    // From here on for those who check.

    /// An error, at the time `now`.
    void raise(Check check, std::uint64_t now, Finding finding, std::uint64_t value = 0,
               std::uint16_t PID = CheckRecord::no_PID);
    /// An error that was raised still lasts at `now`.
    void lasts(Check check, std::uint64_t now);
    /// There is something to check from here on.
    void applies(Check check) { m_applies.set(index(check)); }
    void applies_no_more(Check check) { m_applies.reset(index(check)); }
    /// Nothing but 1.1 and 1.2 is checked now.
    void suspend(bool on) { m_is_suspended = on; }
    /// Sets all states.
    void settle(std::uint64_t now);

private:
    static constexpr std::size_t index(Check check) { return static_cast<std::size_t>(check); }
    void note_second(std::size_t at, std::uint64_t now);

    std::array<CheckRecord, size> m_records;
    std::array<std::uint64_t, size> m_seconds{}; ///< the last one that counted, and one more
    std::bitset<size> m_applies;
    bool m_is_suspended = true;
};
} // namespace mpegcore
