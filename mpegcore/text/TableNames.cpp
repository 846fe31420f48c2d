// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"

namespace mpegcore
{
namespace
{
// ETSI EN 300 468, table 2; ISO/IEC 13818-1, table 2-31; ANSI/SCTE 35, 9.6; ETR 289 for ECM and EMM.
constexpr Meaning table_ids[]{
    {0x00, "PAT"},
    {0x01, "CAT"},
    {0x02, "PMT"},
    {0x03, "TSDT"},
    {0x04, "ISO/IEC 14496 scene description"},
    {0x05, "ISO/IEC 14496 object descriptor"},
    {0x06, "metadata"},
    {0x07, "IPMP control information"},
    {0x08, "ISO/IEC 14496"},
    {0x09, "green access unit"},
    {0x0A, "quality access unit"},
    {0x3A, "DSM-CC multiprotocol encapsulated data"},
    {0x3B, "DSM-CC user-to-network messages"},
    {0x3C, "DSM-CC download data"},
    {0x3D, "DSM-CC stream descriptors"},
    {0x3E, "DSM-CC private data, MPE datagram"},
    {0x3F, "DSM-CC addressable"},
    {0x40, "NIT actual"},
    {0x41, "NIT other"},
    {0x42, "SDT actual"},
    {0x46, "SDT other"},
    {0x4A, "BAT"},
    {0x4B, "UNT"},
    {0x4C, "INT"},
    {0x4D, "SAT"},
    {0x4E, "EIT present/following actual"},
    {0x4F, "EIT present/following other"},
    {0x50, 0x5F, "EIT schedule actual"},
    {0x60, 0x6F, "EIT schedule other"},
    {0x70, "TDT"},
    {0x71, "RST"},
    {0x72, "ST"},
    {0x73, "TOT"},
    {0x74, "AIT"},
    {0x75, "container"},
    {0x76, "RCT"},
    {0x77, "CIT"},
    {0x78, "MPE-FEC"},
    {0x79, "RNT"},
    {0x7A, "MPE-IFEC"},
    {0x7B, "protection message"},
    {0x7C, "downloadable font information"},
    {0x7E, "DIT"},
    {0x7F, "SIT"},
    {0x80, 0x81, "ECM"},
    {0x82, 0x8F, "EMM"},
    {0x90, 0xFB, "user defined"},
    {0xFC, "splice information"},
    {0xFD, 0xFE, "user defined"},
};
} // namespace

void add_table_names(MeaningIndex& index) { index.add("table_id", table_ids); }
} // namespace mpegcore
