// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"

namespace mpegcore
{
namespace
{
// ETSI EN 300 468: the delivery system descriptors, 6.2.13 and 6.4.6.
constexpr Meaning west_east[]{
    {0x00, "west"},
    {0x01, "east"},
};

constexpr Meaning polarizations[]{
    {0x00, "linear, horizontal"},
    {0x01, "linear, vertical"},
    {0x02, "circular, left"},
    {0x03, "circular, right"},
};

constexpr Meaning roll_offs[]{
    {0x00, "0.35"},
    {0x01, "0.25"},
    {0x02, "0.20"},
};

constexpr Meaning modulation_systems[]{
    {0x00, "DVB-S"},
    {0x01, "DVB-S2"},
};

constexpr Meaning modulation_types[]{
    {0x00, "auto"},
    {0x01, "QPSK"},
    {0x02, "8PSK"},
    {0x03, "16QAM"},
};

constexpr Meaning inner_codes[]{
    {0x00, "not defined"}, {0x01, "1/2"}, {0x02, "2/3"}, {0x03, "3/4"},  {0x04, "5/6"},  {0x05, "7/8"},
    {0x06, "8/9"},         {0x07, "3/5"}, {0x08, "4/5"}, {0x09, "9/10"}, {0x0F, "none"},
};

constexpr Meaning outer_codes[]{
    {0x00, "not defined"},
    {0x01, "none"},
    {0x02, "RS(204/188)"},
};

constexpr Meaning cable_modulations[]{
    {0x00, "not defined"}, {0x01, "16QAM"}, {0x02, "32QAM"}, {0x03, "64QAM"}, {0x04, "128QAM"}, {0x05, "256QAM"},
};

constexpr Meaning bandwidths[]{
    {0x00, "8 MHz"},
    {0x01, "7 MHz"},
    {0x02, "6 MHz"},
    {0x03, "5 MHz"},
};

constexpr Meaning priorities[]{
    {0x00, "low"},
    {0x01, "high"},
};

constexpr Meaning used_when_zero[]{
    {0x00, "used"},
    {0x01, "not used"},
};

constexpr Meaning constellations[]{
    {0x00, "QPSK"},
    {0x01, "16QAM"},
    {0x02, "64QAM"},
};

constexpr Meaning hierarchies[]{
    {0x00, "none"},
    {0x01, "alpha 1"},
    {0x02, "alpha 2"},
    {0x03, "alpha 4"},
    {0x04, "none, in-depth interleaver"},
    {0x05, "alpha 1, in-depth interleaver"},
    {0x06, "alpha 2, in-depth interleaver"},
    {0x07, "alpha 4, in-depth interleaver"},
};

constexpr Meaning code_rates[]{
    {0x00, "1/2"}, {0x01, "2/3"}, {0x02, "3/4"}, {0x03, "5/6"}, {0x04, "7/8"},
};

constexpr Meaning guard_intervals[]{
    {0x00, "1/32"},
    {0x01, "1/16"},
    {0x02, "1/8"},
    {0x03, "1/4"},
};

constexpr Meaning transmission_modes[]{
    {0x00, "2k"},
    {0x01, "8k"},
    {0x02, "4k"},
};

constexpr Meaning t2_bandwidths[]{
    {0x00, "8 MHz"}, {0x01, "7 MHz"}, {0x02, "6 MHz"}, {0x03, "5 MHz"}, {0x04, "10 MHz"}, {0x05, "1.712 MHz"},
};

constexpr Meaning t2_guard_intervals[]{
    {0x00, "1/32"}, {0x01, "1/16"}, {0x02, "1/8"}, {0x03, "1/4"}, {0x04, "1/128"}, {0x05, "19/128"}, {0x06, "19/256"},
};

constexpr Meaning t2_transmission_modes[]{
    {0x00, "2k"}, {0x01, "8k"}, {0x02, "4k"}, {0x03, "1k"}, {0x04, "16k"}, {0x05, "32k"},
};

constexpr Meaning antennas[]{
    {0x00, "SISO"},
    {0x01, "MISO"},
};

constexpr Meaning ts_gs_modes[]{
    {0x00, "generic packetized"},
    {0x01, "GSE"},
    {0x02, "TS"},
};

constexpr Meaning sh_diversity_modes[]{
    {0x00, "none"},
    {0x08, "paTS"},
    {0x0D, "paTS and FEC diversity at link layer"},
    {0x0E, "paTS and FEC diversity at PHY"},
    {0x0F, "paTS and FEC diversity at PHY and link layer"},
};

constexpr Meaning sh_modulation_types[]{
    {0x00, "TDM"},
    {0x01, "OFDM"},
};

constexpr Meaning sh_interleaver_types[]{
    {0x00, "long"},
    {0x01, "short"},
};

constexpr Meaning sh_modulation_modes[]{
    {0x00, "QPSK"},
    {0x01, "8PSK"},
    {0x02, "16APSK"},
};

constexpr Meaning sh_constellations[]{
    {0x00, "QPSK"},
    {0x01, "16QAM"},
    {0x02, "16QAM hierarchical, alpha 1"},
    {0x03, "16QAM hierarchical, alpha 2"},
    {0x04, "16QAM hierarchical, alpha 3"},
};

constexpr Meaning sh_code_rates[]{
    {0x00, "1/5"}, {0x01, "2/9"},
    {0x02, "1/4"}, {0x03, "2/7"},
    {0x04, "1/3"}, {0x05, "1/3 complementary"},
    {0x06, "2/5"}, {0x07, "2/5 complementary"},
    {0x08, "1/2"}, {0x09, "1/2 complementary"},
    {0x0A, "2/3"}, {0x0B, "2/3 complementary"},
};

constexpr Meaning sh_roll_offs[]{
    {0x00, "0.35"},
    {0x01, "0.25"},
    {0x02, "0.15"},
};

constexpr Meaning sh_bandwidths[]{
    {0x00, "8 MHz"}, {0x01, "7 MHz"}, {0x02, "6 MHz"}, {0x03, "5 MHz"}, {0x04, "1.7 MHz"},
};

constexpr Meaning sh_transmission_modes[]{
    {0x00, "1k"},
    {0x01, "2k"},
    {0x02, "4k"},
    {0x03, "8k"},
};

constexpr Meaning c2_tuning_frequency_types[]{
    {0x00, "data slice tuning frequency"},
    {0x01, "C2 system centre frequency"},
    {0x02, "initial tuning position for a static data slice"},
};

constexpr Meaning c2_symbol_durations[]{
    {0x00, "448 us (8 MHz)"},
    {0x01, "597.33 us (6 MHz)"},
};

constexpr Meaning c2_guard_intervals[]{
    {0x00, "1/128"},
    {0x01, "1/64"},
};

constexpr Meaning coding_types[]{
    {0x00, "not defined"},
    {0x01, "satellite"},
    {0x02, "cable"},
    {0x03, "terrestrial"},
};
} // namespace

void add_delivery_meanings(MeaningIndex& index)
{
    index.add("west_east_flag", west_east);
    index.add("polarization", polarizations);
    index.add("roll_off", roll_offs);
    index.add("modulation_system", modulation_systems);
    index.add("modulation_type", modulation_types);
    index.add("FEC_inner", inner_codes);
    index.add("FEC_outer", outer_codes);
    index.add("modulation", cable_modulations);
    index.add("bandwidth", bandwidths);
    index.add("priority", priorities, "terrestrial_delivery_system_descriptor");
    index.add("Time_Slicing_indicator", used_when_zero);
    index.add("MPE-FEC_indicator", used_when_zero);
    index.add("constellation", constellations);
    index.add("hierarchy_information", hierarchies);
    index.add("code_rate-HP_stream", code_rates);
    index.add("code_rate-LP_stream", code_rates);
    index.add("guard_interval", guard_intervals);
    index.add("transmission_mode", transmission_modes);
    index.add("bandwidth", t2_bandwidths, "T2_delivery_system_descriptor");
    index.add("guard_interval", t2_guard_intervals, "T2_delivery_system_descriptor");
    index.add("transmission_mode", t2_transmission_modes, "T2_delivery_system_descriptor");
    index.add("SISO/MISO", antennas);
    index.add("TS_GS_mode", ts_gs_modes);
    index.add("diversity_mode", sh_diversity_modes);
    index.add("modulation_type", sh_modulation_types, "SH_delivery_system_descriptor");
    index.add("interleaver_type", sh_interleaver_types);
    index.add("modulation_mode", sh_modulation_modes);
    index.add("constellation_and_hierarchy", sh_constellations);
    index.add("code_rate", sh_code_rates);
    index.add("roll_off", sh_roll_offs, "SH_delivery_system_descriptor");
    index.add("bandwidth", sh_bandwidths, "SH_delivery_system_descriptor");
    index.add("transmission_mode", sh_transmission_modes, "SH_delivery_system_descriptor");
    index.add("priority", priorities, "SH_delivery_system_descriptor");
    index.add("C2_System_tuning_frequency_type", c2_tuning_frequency_types);
    index.add("active_OFDM_symbol_duration", c2_symbol_durations);
    index.add("guard_interval", c2_guard_intervals, "C2_delivery_system_descriptor");
    index.add("coding_type", coding_types);
}
} // namespace mpegcore
