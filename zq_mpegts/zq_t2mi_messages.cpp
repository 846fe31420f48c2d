// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_t2mi_messages.h"

#include "mpegcore/text/Meanings.h"

#include <string>

namespace
{
/// In words, or as the number where it has no meaning.
std::string words(const char* field, unsigned value)
{
    const std::string meaning{mpegcore::meaning_of(field, value)};
    return meaning.empty() ? std::to_string(value) : meaning;
}

GstStructure* plp_structure(const mpegcore::L1PostConfigurable::PLP& plp)
{
    return gst_structure_new(
        "plp", "id", G_TYPE_UINT, guint{plp.PLP_ID}, "type", G_TYPE_STRING, words("PLP_TYPE", plp.PLP_TYPE).c_str(),
        "payload", G_TYPE_STRING, words("PLP_PAYLOAD_TYPE", plp.PLP_PAYLOAD_TYPE).c_str(), "group", G_TYPE_UINT,
        guint{plp.PLP_GROUP_ID}, "modulation", G_TYPE_STRING, words("PLP_MOD", plp.PLP_MOD).c_str(), "code-rate",
        G_TYPE_STRING, words("PLP_COD", plp.PLP_COD).c_str(), "fec", G_TYPE_STRING,
        words("PLP_FEC_TYPE", plp.PLP_FEC_TYPE).c_str(), "mode", G_TYPE_STRING, words("PLP_MODE", plp.PLP_MODE).c_str(),
        nullptr);
}

/// Sets a list of structures or numbers.
void take_array(GstStructure* structure, const char* name, GValue& array)
{
    gst_structure_take_value(structure, name, &array);
}

void append_structure(GValue& array, GstStructure* item)
{
    GValue value = G_VALUE_INIT;
    g_value_init(&value, GST_TYPE_STRUCTURE);
    g_value_take_boxed(&value, item);
    gst_value_array_append_and_take_value(&array, &value);
}

void set_structure(GstStructure* structure, const std::string& name, GstStructure* item)
{
    GValue value = G_VALUE_INIT;
    g_value_init(&value, GST_TYPE_STRUCTURE);
    g_value_take_boxed(&value, item);
    gst_structure_take_value(structure, name.c_str(), &value);
}

void set_count(GstStructure* structure, const char* name, std::uint64_t count)
{
    gst_structure_set(structure, name, G_TYPE_UINT64, count, nullptr);
}

GstStructure* plp_stats(const mpegcore::UserPacketCounters& counters)
{
    GstStructure* const stats = gst_structure_new_empty("application/x-zqt2midemux-plp-stats");
    set_count(stats, "frames", counters.frames);
    set_count(stats, "packets", counters.packets);
    set_count(stats, "restored-nulls", counters.restored_nulls);
    set_count(stats, "header-errors", counters.header_errors);
    set_count(stats, "other-formats", counters.other_formats);
    set_count(stats, "syncd-disagreements", counters.SYNCD_disagreements);
    set_count(stats, "crc-8-errors", counters.CRC_8_errors);
    set_count(stats, "dropped-parts", counters.dropped_parts);
    return stats;
}
} // namespace

GstStructure* zq_t2mi_L1_structure(const mpegcore::L1Current& L1)
{
    GstStructure* const structure =
        gst_structure_new("ZqT2MIL1Changed", "network-id", G_TYPE_UINT, guint{L1.L1PRE.NETWORK_ID}, "t2-system-id",
                          G_TYPE_UINT, guint{L1.L1PRE.T2_SYSTEM_ID}, "cell-id", G_TYPE_UINT, guint{L1.L1PRE.CELL_ID},
                          "guard-interval", G_TYPE_STRING, words("GUARD_INTERVAL", L1.L1PRE.GUARD_INTERVAL).c_str(),
                          "pilot-pattern", G_TYPE_STRING, words("PILOT_PATTERN", L1.L1PRE.PILOT_PATTERN).c_str(),
                          "t2-frames", G_TYPE_UINT, guint{L1.L1PRE.NUM_T2_FRAMES}, nullptr);
    GValue plps = G_VALUE_INIT;
    g_value_init(&plps, GST_TYPE_ARRAY);
    for (const auto& plp : L1.L1CONF.PLPs)
        append_structure(plps, plp_structure(plp));
    take_array(structure, "plps", plps);
    return structure;
}

GstStructure* zq_t2mi_plps_structure(const std::vector<std::uint8_t>& plp_ids)
{
    GstStructure* const structure = gst_structure_new_empty("ZqT2MIPLPs");
    GValue ids = G_VALUE_INIT;
    g_value_init(&ids, GST_TYPE_ARRAY);
    for (const std::uint8_t plp_id : plp_ids) {
        GValue id = G_VALUE_INIT;
        g_value_init(&id, G_TYPE_UINT);
        g_value_set_uint(&id, plp_id);
        gst_value_array_append_and_take_value(&ids, &id);
    }
    take_array(structure, "plps", ids);
    return structure;
}

GstTagList* zq_t2mi_tags(const mpegcore::L1PostConfigurable::PLP& plp)
{
    GstTagList* const tags = gst_tag_list_new(GST_TAG_CONTAINER_FORMAT, "MPEG-2 transport stream", GST_TAG_TITLE,
                                              ("PLP " + std::to_string(plp.PLP_ID)).c_str(), nullptr);
    const auto add = [tags](const char* key, const std::string& text) {
        gst_tag_list_add(tags, GST_TAG_MERGE_APPEND, GST_TAG_EXTENDED_COMMENT, (std::string{key} + "=" + text).c_str(),
                         nullptr);
    };
    add("plp-type", words("PLP_TYPE", plp.PLP_TYPE));
    add("modulation", words("PLP_MOD", plp.PLP_MOD));
    add("code-rate", words("PLP_COD", plp.PLP_COD));
    add("fec", words("PLP_FEC_TYPE", plp.PLP_FEC_TYPE));
    return tags;
}

GstStructure* zq_t2mi_stats_structure(const mpegcore::T2MIDemultiplexer& demultiplexer, std::uint64_t rtp_packets,
                                      std::uint64_t rtp_lost)
{
    const auto& counters = demultiplexer.counters();
    const auto& gathered = demultiplexer.gatherer_counters();
    const auto of_type = [&counters](mpegcore::T2MIPacketType type) {
        return counters.packets_by_type[static_cast<std::size_t>(type)].get();
    };
    GstStructure* const stats =
        gst_structure_new("application/x-zqt2midemux-stats", "pid", G_TYPE_INT, demultiplexer.PID(), "stream-id",
                          G_TYPE_INT, demultiplexer.stream_id(), nullptr);
    set_count(stats, "transport-packets", counters.transport_packets);
    set_count(stats, "t2mi-packets", gathered.packets);
    set_count(stats, "baseband-frames", of_type(mpegcore::T2MIPacketType::baseband_frame));
    set_count(stats, "l1-current", of_type(mpegcore::T2MIPacketType::L1_current));
    set_count(stats, "timestamps", of_type(mpegcore::T2MIPacketType::DVB_T2_timestamp));
    set_count(stats, "unknown-types", counters.unknown_types);
    set_count(stats, "payload-errors", counters.payload_errors);
    set_count(stats, "crc-32-errors", gathered.CRC_32_errors);
    set_count(stats, "packet-count-gaps", counters.packet_count_gaps);
    set_count(stats, "pointer-errors", gathered.pointer_errors);
    set_count(stats, "continuity-errors", gathered.continuity_errors);
    set_count(stats, "transport-errors", gathered.transport_errors);
    set_count(stats, "scrambled", gathered.scrambled);
    set_count(stats, "repeated", gathered.repeated);
    set_count(stats, "merged-packets", demultiplexer.merged_packets());
    set_count(stats, "rtp-packets", rtp_packets);
    set_count(stats, "rtp-lost", rtp_lost);
    for (unsigned plp_id = 0; plp_id < 256; ++plp_id)
        if (const auto* const plp = demultiplexer.PLP_counters(static_cast<std::uint8_t>(plp_id)))
            set_structure(stats, "plp-" + std::to_string(plp_id), plp_stats(*plp));
    return stats;
}
