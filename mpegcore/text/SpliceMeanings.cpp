// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"

namespace mpegcore
{
namespace
{
// ANSI/SCTE 35.
constexpr Meaning sap_types[]{
    {0x00, "SAP type 1"},
    {0x01, "SAP type 2"},
    {0x02, "SAP type 3"},
    {0x03, "not specified"},
};

constexpr Meaning encryption_algorithms[]{
    {0x00, "none"}, {0x01, "DES-ECB"}, {0x02, "DES-CBC"}, {0x03, "triple DES EDE3-ECB"}, {0x20, 0x3F, "user private"},
};

constexpr Meaning splice_command_types[]{
    {0x00, "splice_null"}, {0x04, "splice_schedule"},       {0x05, "splice_insert"},
    {0x06, "time_signal"}, {0x07, "bandwidth_reservation"}, {0xFF, "private_command"},
};

constexpr Meaning segmentation_types[]{
    {0x00, "not indicated"},
    {0x01, "content identification"},
    {0x02, "call ad server"},
    {0x10, "program start"},
    {0x11, "program end"},
    {0x12, "program early termination"},
    {0x13, "program breakaway"},
    {0x14, "program resumption"},
    {0x15, "program runover planned"},
    {0x16, "program runover unplanned"},
    {0x17, "program overlap start"},
    {0x18, "program blackout override"},
    {0x19, "program start in progress"},
    {0x20, "chapter start"},
    {0x21, "chapter end"},
    {0x22, "break start"},
    {0x23, "break end"},
    {0x24, "opening credit start"},
    {0x25, "opening credit end"},
    {0x26, "closing credit start"},
    {0x27, "closing credit end"},
    {0x30, "provider advertisement start"},
    {0x31, "provider advertisement end"},
    {0x32, "distributor advertisement start"},
    {0x33, "distributor advertisement end"},
    {0x34, "provider placement opportunity start"},
    {0x35, "provider placement opportunity end"},
    {0x36, "distributor placement opportunity start"},
    {0x37, "distributor placement opportunity end"},
    {0x38, "provider overlay placement opportunity start"},
    {0x39, "provider overlay placement opportunity end"},
    {0x3A, "distributor overlay placement opportunity start"},
    {0x3B, "distributor overlay placement opportunity end"},
    {0x3C, "provider promo start"},
    {0x3D, "provider promo end"},
    {0x3E, "distributor promo start"},
    {0x3F, "distributor promo end"},
    {0x40, "unscheduled event start"},
    {0x41, "unscheduled event end"},
    {0x42, "alternate content opportunity start"},
    {0x43, "alternate content opportunity end"},
    {0x44, "provider ad block start"},
    {0x45, "provider ad block end"},
    {0x46, "distributor ad block start"},
    {0x47, "distributor ad block end"},
    {0x50, "network start"},
    {0x51, "network end"},
};

constexpr Meaning upid_types[]{
    {0x00, "not used"}, {0x01, "user defined"}, {0x02, "ISCI"},
    {0x03, "Ad-ID"},    {0x04, "UMID"},         {0x05, "ISAN (deprecated)"},
    {0x06, "ISAN"},     {0x07, "TID"},          {0x08, "AiringID"},
    {0x09, "ADI"},      {0x0A, "EIDR"},         {0x0B, "ATSC content identifier"},
    {0x0C, "MPU"},      {0x0D, "MID"},          {0x0E, "ADS information"},
    {0x0F, "URI"},      {0x10, "UUID"},         {0x11, "SCR"},
};

constexpr Meaning device_restriction_groups[]{
    {0x00, "restrict group 0"},
    {0x01, "restrict group 1"},
    {0x02, "restrict group 2"},
    {0x03, "none"},
};
} // namespace

void add_splice_meanings(MeaningIndex& index)
{
    index.add("sap_type", sap_types);
    index.add("encryption_algorithm", encryption_algorithms);
    index.add("splice_command_type", splice_command_types);
    index.add("segmentation_type_id", segmentation_types);
    index.add("segmentation_upid_type", upid_types);
    index.add("device_restrictions", device_restriction_groups);
}
} // namespace mpegcore
