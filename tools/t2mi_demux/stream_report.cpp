// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi_demux/stream_report.h"

#include "mpegcore/t2mi/T2MIPrinter.h"
#include "mpegcore/text/Meanings.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>

namespace t2mi_demux
{
namespace
{
using nlohmann::ordered_json;

std::string words(const char* field, unsigned value)
{
    const std::string meaning(mpegcore::meaning_of(field, value));
    return meaning.empty() ? std::to_string(value) : meaning;
}

std::string hexadecimal(int PID)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%04x", static_cast<unsigned>(PID));
    return text.data();
}
} // namespace

void stream_report::note_T2_frame()
{
    for (unsigned plp_id = 0; plp_id < 256; ++plp_id)
        if (const auto* const counters = m_demultiplexer.PLP_counters(static_cast<std::uint8_t>(plp_id)))
            m_last_packets[plp_id] = counters->packets;
    if (m_T2_frames++ == 0)
        m_first_packets = m_last_packets;
}

std::uint64_t stream_report::bit_rate(std::uint8_t plp_id) const
{
    const auto* const L1 = m_demultiplexer.L1();
    if (m_T2_frames < 2 || L1 == nullptr || !m_has_timestamp || m_timestamp.subseconds_per_second() == 0 ||
        L1->superframe_periods() == 0 || L1->L1PRE.NUM_T2_FRAMES == 0)
        return 0;
    const double period =
        static_cast<double>(m_timestamp.subseconds_per_period()) / m_timestamp.subseconds_per_second();
    const double T2_frame = static_cast<double>(L1->superframe_periods()) / L1->L1PRE.NUM_T2_FRAMES * period;
    const auto packets = static_cast<double>(m_last_packets[plp_id] - m_first_packets[plp_id]);
    return static_cast<std::uint64_t>(
        std::llround(packets * 188 * 8 / (static_cast<double>(m_T2_frames - 1) * T2_frame)));
}

std::string stream_report::PLP_line(std::uint8_t plp_id) const
{
    const auto& counters = *m_demultiplexer.PLP_counters(plp_id);
    std::string line = "PLP " + std::to_string(plp_id) + ": ";
    if (const auto* const plp = m_demultiplexer.L1_of(plp_id))
        line += words("PLP_TYPE", plp->PLP_TYPE) + ", " + words("PLP_PAYLOAD_TYPE", plp->PLP_PAYLOAD_TYPE) +
                ", group " + std::to_string(plp->PLP_GROUP_ID) + ", " + words("PLP_MOD", plp->PLP_MOD) + " " +
                words("PLP_COD", plp->PLP_COD) + ", " + words("PLP_FEC_TYPE", plp->PLP_FEC_TYPE) + ", ";
    line += std::to_string(counters.frames) + " frames, " + std::to_string(counters.packets) + " packets";
    if (const auto rate = bit_rate(plp_id))
        line += ", " + std::to_string(rate) + " bit/s";
    return line;
}

std::string stream_report::candidate_line(const candidate_list::candidate& candidate) const
{
    std::string line = "Candidate: PID " + hexadecimal(candidate.PID) + ", T2-MI stream";
    for (const unsigned stream_id : candidate.stream_ids)
        line += " " + std::to_string(stream_id);
    line += ", " + std::to_string(candidate.packets) + " T2-MI packets";
    if (m_demultiplexer.programs().describes(candidate.PID, mpegcore::T2MIDemultiplexer::any))
        line += ", described";
    if (m_demultiplexer.PID() == candidate.PID)
        line += ", in use";
    return line + "\n";
}

std::string stream_report::text() const
{
    std::string text;
    for (const auto& stream : m_demultiplexer.programs().streams())
        if (stream.has_descriptor)
            text += "PSI: T2-MI descriptor for PID " + hexadecimal(stream.PID) + ", T2-MI stream " +
                    std::to_string(stream.t2mi_stream_id) + "\n";
    const auto& counters = m_demultiplexer.counters();
    text += "PID " + hexadecimal(m_demultiplexer.PID()) + ", T2-MI stream " +
            std::to_string(m_demultiplexer.stream_id()) + "\n";
    for (unsigned id = 0; id < counters.packets_by_stream_id.size(); ++id)
        if (counters.packets_by_stream_id[id] != 0)
            text += "T2-MI stream " + std::to_string(id) + ": " + std::to_string(counters.packets_by_stream_id[id]) +
                    " T2-MI packets\n";
    for (unsigned plp_id = 0; plp_id < 256; ++plp_id)
        if (m_demultiplexer.PLP_counters(static_cast<std::uint8_t>(plp_id)) != nullptr)
            text += PLP_line(static_cast<std::uint8_t>(plp_id)) + "\n";
    for (const auto& candidate : m_candidates.found())
        text += candidate_line(candidate);
    if (m_has_timestamp)
        text += "Timestamp:\n" + mpegcore::to_text(m_timestamp, 2);
    if (const auto* const L1 = m_demultiplexer.L1())
        text += "L1:\n" + mpegcore::to_text(*L1, 2);
    return text;
}

std::string stream_report::json() const
{
    ordered_json report;
    report["pid"] = m_demultiplexer.PID();
    report["stream_id"] = m_demultiplexer.stream_id();
    report["stream_ids"] = ordered_json::array();
    const auto& counters = m_demultiplexer.counters();
    for (unsigned id = 0; id < counters.packets_by_stream_id.size(); ++id)
        if (counters.packets_by_stream_id[id] != 0)
            report["stream_ids"].push_back(id);
    report["described"] = ordered_json::array();
    for (const auto& stream : m_demultiplexer.programs().streams())
        if (stream.has_descriptor)
            report["described"].push_back({{"pid", stream.PID}, {"stream_id", stream.t2mi_stream_id}});
    report["candidates"] = ordered_json::array();
    for (const auto& candidate : m_candidates.found())
        report["candidates"].push_back({{"pid", candidate.PID},
                                        {"stream_ids", candidate.stream_ids},
                                        {"packets", candidate.packets},
                                        {"in_use", m_demultiplexer.PID() == candidate.PID}});
    report["plps"] = ordered_json::array();
    for (unsigned id = 0; id < 256; ++id) {
        const auto plp_id = static_cast<std::uint8_t>(id);
        const auto* const came = m_demultiplexer.PLP_counters(plp_id);
        if (came == nullptr)
            continue;
        ordered_json plp{{"id", plp_id}, {"frames", came->frames.get()}, {"packets", came->packets.get()}};
        if (const auto rate = bit_rate(plp_id))
            plp["bit_rate"] = rate;
        if (const auto* const known = m_demultiplexer.L1_of(plp_id)) {
            plp["type"] = words("PLP_TYPE", known->PLP_TYPE);
            plp["payload"] = words("PLP_PAYLOAD_TYPE", known->PLP_PAYLOAD_TYPE);
            plp["group"] = known->PLP_GROUP_ID;
            plp["modulation"] = words("PLP_MOD", known->PLP_MOD);
            plp["code_rate"] = words("PLP_COD", known->PLP_COD);
            plp["fec"] = words("PLP_FEC_TYPE", known->PLP_FEC_TYPE);
        }
        report["plps"].push_back(plp);
    }
    if (m_has_timestamp)
        report["timestamp"] = ordered_json::parse(mpegcore::to_json(m_timestamp));
    if (const auto* const L1 = m_demultiplexer.L1())
        report["L1"] = ordered_json::parse(mpegcore::to_json(*L1));
    return report.dump() + "\n";
}

std::string stream_report::counters() const
{
    const auto& counters = m_demultiplexer.counters();
    const auto& gathered = m_demultiplexer.gatherer_counters();
    std::string text = std::to_string(gathered.packets) + " T2-MI packets";
    const auto add = [&text](const char* what, std::uint64_t count) {
        if (count != 0)
            text += ", " + std::to_string(count) + " " + what;
    };
    add("CRC-32 errors", gathered.CRC_32_errors);
    add("continuity errors", gathered.continuity_errors);
    add("pointer errors", gathered.pointer_errors);
    add("damaged transport packets", gathered.transport_errors);
    add("scrambled transport packets", gathered.scrambled);
    add("repeated transport packets", gathered.repeated);
    add("packet_count gaps", counters.packet_count_gaps);
    add("of unknown type", counters.unknown_types);
    add("with a bad payload", counters.payload_errors);
    add("packets of common PLPs put into others", m_demultiplexer.merged_packets());
    text += "\n";
    for (unsigned plp_id = 0; plp_id < 256; ++plp_id) {
        const auto* const plp = m_demultiplexer.PLP_counters(static_cast<std::uint8_t>(plp_id));
        if (plp == nullptr)
            continue;
        text += "PLP " + std::to_string(plp_id) + ": " + std::to_string(plp->frames) + " frames, " +
                std::to_string(plp->packets) + " packets";
        add("null packets put back", plp->restored_nulls);
        add("bad headers", plp->header_errors);
        add("frames of no transport stream", plp->other_formats);
        add("SYNCD disagreements", plp->SYNCD_disagreements);
        add("CRC-8 errors", plp->CRC_8_errors);
        add("dropped parts", plp->dropped_parts);
        text += "\n";
    }
    return text;
}
} // namespace t2mi_demux
