// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"

namespace mpegcore
{
namespace
{
// Registrations of ETSI TS 101 162.
constexpr Meaning ca_systems[]{
    {0x100, 0x1FF, "MediaGuard"},
    {0x500, 0x5FF, "Viaccess"},
    {0x600, 0x6FF, "Irdeto"},
    {0x900, 0x9FF, "NDS VideoGuard"},
    {0xB00, 0xBFF, "Conax"},
    {0xD00, 0xDFF, "CryptoWorks"},
    {0xE00, 0xEFF, "PowerVu"},
    {0x1000, 0x10FF, "Tandberg RAS"},
    {0x1700, 0x17FF, "Verimatrix"},
    {0x1800, 0x18FF, "Nagravision"},
    {0x2600, "BISS"},
    {0x2601, "EBU"},
    {0x2602, 0x2603, "BISS-CA"},
    {0x2604, 0x26FF, "EBU"},
    {0x4700, 0x47FF, "Motorola"},
    {0x4AD2, 0x4AD3, "Beijing DV"},
    {0x4AD4, 0x4AD5, "Widevine"},
    {0x4AE0, 0x4AE1, "DRE-Crypt"},
    {0x4AEA, "Cryptoguard"},
    {0x4AFC, "Panaccess"},
    {0x5601, 0x5604, "Verimatrix"},
};

constexpr Meaning private_data_specifiers[]{
    {0x01, "SES Astra"},
    {0x02, 0x04, "BSkyB"},
    {0x05, "ARD, ZDF, ORF"},
    {0x10, "TPS"},
    {0x28, "EACEM"},
    {0x29, "NorDig"},
    {0x31, "TeleDenmark"},
    {0x3F, "ITI Neovision"},
    {0x40, "CI Plus"},
    {0xB0, "ITI Neovision"},
    {0xC0, "Canal+"},
    {0x13F, "Eutelsat"},
    {0x55F, "Eutelsat"},
    {0x600, 0x603, "UPC"},
    {0x22C7, "Hungary"},
    {0x22D4, "Spain"},
    {0x22F1, "Sweden"},
    {0x233A, "DTT UK"},
    {0x3200, 0x320F, "Australia"},
    {0x362275, "Irdeto"},
    {0x46534154, "BBC"},
};

// Of the SMPTE registration authority: four letters.
constexpr Meaning format_identifiers[]{
    {0x41432D33, "AC-3 audio"},
    {0x41432D34, "AC-4 audio"},
    {0x41563031, "AV1 video"},
    {0x42535344, "SMPTE 302M audio"},
    {0x43554549, "SCTE 35"},
    {0x44545331, "DTS audio, 512 samples a frame"},
    {0x44545332, "DTS audio, 1024 samples a frame"},
    {0x44545333, "DTS audio, 2048 samples a frame"},
    {0x45414333, "E-AC-3 audio"},
    {0x47413934, "ATSC"},
    {0x48444D56, "Blu-ray"},
    {0x48455643, "HEVC video"},
    {0x49443320, "ID3 metadata"},
    {0x4B4C5641, "SMPTE 336M metadata"},
    {0x4F707573, "Opus audio"},
    {0x53435445, "SCTE"},
    {0x56414E43, "SMPTE 2038 ancillary data"},
    {0x56432D31, "VC-1 video"},
    {0x56564320, "VVC video"},
    {0x64726163, "Dirac video"},
};
} // namespace

void add_owner_names(MeaningIndex& index)
{
    index.add("CA_system_id", ca_systems);
    index.add("CA_system_ID", ca_systems);
    index.add("private_data_specifier", private_data_specifiers);
    index.add("format_identifier", format_identifiers);
    index.add("identifier", format_identifiers);
}
} // namespace mpegcore
