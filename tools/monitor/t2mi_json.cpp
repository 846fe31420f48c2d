// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/t2mi_json.h"

#include "mpegcore/text/Meanings.h"

namespace monitor
{
namespace
{
/// What a value stands for, or the number where it stands for nothing.
void write_meaning(json_writer& json, std::string_view name, std::string_view element, unsigned value)
{
    const auto meaning = mpegcore::meaning_of(element, value);
    if (meaning.empty())
        json.member(name, value);
    else
        json.member(name, meaning);
}

void write_L1(json_writer& json, const mpegcore::L1Pre& L1)
{
    write_meaning(json, "preamble", "S1", L1.S1);
    write_meaning(json, "guard_interval", "GUARD_INTERVAL", L1.GUARD_INTERVAL);
    write_meaning(json, "pilot_pattern", "PILOT_PATTERN", L1.PILOT_PATTERN);
    write_meaning(json, "l1_modulation", "L1_MOD", L1.L1_MOD);
    write_meaning(json, "t2_version", "T2_VERSION", L1.T2_VERSION);
    json.member("network_id", L1.NETWORK_ID).member("t2_system_id", L1.T2_SYSTEM_ID).member("cell_id", L1.CELL_ID);
    json.member("frames_in_superframe", L1.NUM_T2_FRAMES).member("data_symbols", L1.NUM_DATA_SYMBOLS);
}

void write_L1(json_writer& json, const mpegcore::L1PostConfigurable::PLP& L1)
{
    write_meaning(json, "type", "PLP_TYPE", L1.PLP_TYPE);
    write_meaning(json, "payload", "PLP_PAYLOAD_TYPE", L1.PLP_PAYLOAD_TYPE);
    write_meaning(json, "modulation", "PLP_MOD", L1.PLP_MOD);
    write_meaning(json, "code_rate", "PLP_COD", L1.PLP_COD);
    write_meaning(json, "fec", "PLP_FEC_TYPE", L1.PLP_FEC_TYPE);
    write_meaning(json, "mode", "PLP_MODE", L1.PLP_MODE);
    json.member("rotation", L1.PLP_ROTATION != 0).member("group_id", L1.PLP_GROUP_ID);
    json.member("most_blocks", L1.PLP_NUM_BLOCKS_MAX).member("time_il_length", L1.TIME_IL_LENGTH);
}
} // namespace

void write_T2MI(json_writer& json, const snapshot& seen)
{
    json.key("t2mi");
    if (!seen.T2MI) {
        json.null().key("plps").open('[').close(']');
        return;
    }
    json.open('{').member("pid", seen.T2MI->PID).key("t2mi_stream_id");
    if (seen.T2MI->t2mi_stream_id)
        json.value(*seen.T2MI->t2mi_stream_id);
    else
        json.null();
    json.member("packets", seen.T2MI->packets);
    if (seen.T2MI->L1)
        write_L1(json, *seen.T2MI->L1);
    json.close('}').key("plps").open('[');
    for (const auto& [figures, L1] : seen.T2MI->PLPs) {
        json.open('{').member("plp_id", figures.plp_id).member("frames", figures.frames);
        json.member("packets", figures.packets).member("header_errors", figures.header_errors);
        if (L1)
            write_L1(json, *L1);
        json.close('}');
    }
    json.close(']');
}
} // namespace monitor
