// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"

namespace mpegcore
{
namespace
{
// ETSI EN 302 755, 7.2: the L1 signalling of DVB-T2. PAPR, whose values hang on T2_VERSION, is left out.
constexpr Meaning T2_guard_intervals[]{
    {0x00, "1/32"}, {0x01, "1/16"}, {0x02, "1/8"}, {0x03, "1/4"}, {0x04, "1/128"}, {0x05, "19/128"}, {0x06, "19/256"},
};

constexpr Meaning preamble_formats[]{
    {0x00, "T2 SISO"}, {0x01, "T2 MISO"}, {0x02, "not T2"}, {0x03, "T2-Lite SISO"}, {0x04, "T2-Lite MISO"},
};

constexpr Meaning l1_modulations[]{
    {0x00, "BPSK"},
    {0x01, "QPSK"},
    {0x02, "16-QAM"},
    {0x03, "64-QAM"},
};

constexpr Meaning pilot_patterns[]{
    {0x00, "PP1"}, {0x01, "PP2"}, {0x02, "PP3"}, {0x03, "PP4"},
    {0x04, "PP5"}, {0x05, "PP6"}, {0x06, "PP7"}, {0x07, "PP8"},
};

constexpr Meaning t2_versions[]{
    {0x00, "V1.1.1"},
    {0x01, "V1.2.1"},
    {0x02, "V1.3.1"},
};

constexpr Meaning plp_types[]{
    {0x00, "common"},
    {0x01, "data type 1"},
    {0x02, "data type 2"},
};

constexpr Meaning plp_payload_types[]{
    {0x00, "GFPS"},
    {0x01, "GCS"},
    {0x02, "GSE"},
    {0x03, "TS"},
};

constexpr Meaning plp_code_rates[]{
    {0x00, "1/2"}, {0x01, "3/5"}, {0x02, "2/3"}, {0x03, "3/4"},
    {0x04, "4/5"}, {0x05, "5/6"}, {0x06, "1/3"}, {0x07, "2/5"},
};

constexpr Meaning plp_modulations[]{
    {0x00, "QPSK"},
    {0x01, "16-QAM"},
    {0x02, "64-QAM"},
    {0x03, "256-QAM"},
};

constexpr Meaning plp_FEC_types[]{
    {0x00, "16K LDPC"},
    {0x01, "64K LDPC"},
};

constexpr Meaning plp_modes[]{
    {0x01, "normal"},
    {0x02, "high efficiency"},
};

// ETSI TS 102 773, table 4.
constexpr Meaning timestamp_bandwidths[]{
    {0x00, "1.7 MHz"}, {0x01, "5 MHz"}, {0x02, "6 MHz"}, {0x03, "7 MHz"}, {0x04, "8 MHz"}, {0x05, "10 MHz"},
};
} // namespace

void add_t2_meanings(MeaningIndex& index)
{
    index.add("GUARD_INTERVAL", T2_guard_intervals);
    index.add("S1", preamble_formats);
    index.add("L1_MOD", l1_modulations);
    index.add("PILOT_PATTERN", pilot_patterns);
    index.add("T2_VERSION", t2_versions);
    index.add("PLP_TYPE", plp_types);
    index.add("PLP_PAYLOAD_TYPE", plp_payload_types);
    index.add("PLP_COD", plp_code_rates);
    index.add("PLP_MOD", plp_modulations);
    index.add("PLP_FEC_TYPE", plp_FEC_types);
    index.add("PLP_MODE", plp_modes);
    index.add("bw", timestamp_bandwidths);
}
} // namespace mpegcore
