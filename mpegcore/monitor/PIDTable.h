// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace mpegcore
{
struct PIDState;

/// What the tables say that a PID carries.
enum class PIDKind : std::uint8_t
{
    unknown, ///< no table names it
    PAT,
    CAT,
    TSDT,
    NIT,
    SDT_BAT,
    EIT,
    RST,
    TDT_TOT,
    other_SI, ///< the rest of 0x0003 to 0x001F
    PMT,
    video,
    audio,
    subtitles, ///< teletext, too
    data,
    SCTE35,
    T2MI,
    PCR, ///< PCRs and nothing else
    ECM,
    EMM,
    null,
};

/// "video", "SDT/BAT", ... in lower case but for the abbreviations.
[[nodiscard]] std::string_view name_of(PIDKind kind);

/// What the PCRs of a PID came to, over the last second that was full, and at all.
struct PCRFigures
{
    std::uint64_t PCRs = 0;
    std::uint64_t last = 0;             ///< 27 MHz
    std::uint64_t last_arrival = 0;     ///< ns of the caller's clock
    std::uint64_t longest_interval = 0; ///< ns by arrival
    std::uint64_t bit_rate = 0;         ///< of the whole stream, by its PCRs; 0: not known yet
    /// How far arrivals and PCRs went apart within the second, ns: the jitter of software stamps, network included, no
    /// PCR_accuracy.
    std::uint64_t arrival_jitter = 0;
};

/// What came on one PID.
struct PIDFigures
{
    std::uint16_t PID = 0;
    PIDKind kind = PIDKind::unknown;
    std::uint8_t stream_type = 0; ///< of elementary streams
    bool is_referenced = false;   ///< a table names it, or it has a fixed use
    bool is_scrambled = false;    ///< its last packet was
    std::uint64_t packets = 0;    ///< all but those with transport_error_indicator
    std::uint64_t scrambled_packets = 0;
    std::uint64_t continuity_errors = 0;
    std::uint64_t missing_packets = 0;  ///< by continuity_counter, at least
    std::uint64_t repeated_packets = 0; ///< legal repetitions
    std::uint64_t transport_errors = 0;
    std::uint64_t last_packet = 0;   ///< ns of the caller's clock
    std::uint64_t bit_rate = 0;      ///< bits of packets a second, over the last second
    const PCRFigures* PCR = nullptr; ///< of the PCR_PID of a program, else null
};

/// The PIDs of a stream: those that came, and those that tables name. Null packets are not among them.
///
/// Memory: 64 KiB, and half a KiB for each PID.
class PIDTable
{
public:
    PIDTable();
    ~PIDTable();
    PIDTable(const PIDTable&) = delete;
    PIDTable& operator=(const PIDTable&) = delete;

    std::size_t size() const { return m_states.size(); }
    /// Null for one that neither came nor is named.
    const PIDFigures* find(std::uint16_t PID) const;
    /// By PID, ascending.
    std::vector<const PIDFigures*> all() const;

    // From here on for those who check.

    PIDState* state(unsigned PID) { return m_by_PID[PID]; }
    /// Null when there are `most` already.
    PIDState* find_or_add(unsigned PID, std::size_t most);
    /// The PID is no longer there.
    void remove(unsigned PID);
    /// In any order.
    const std::vector<std::unique_ptr<PIDState>>& states() { return m_states; }

private:
    std::array<PIDState*, pid_count> m_by_PID{};
    std::vector<std::unique_ptr<PIDState>> m_states;
};
} // namespace mpegcore
