// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/MeaningIndex.h"

namespace mpegcore
{
namespace
{
// ETSI TS 102 809 and its registrations.
constexpr Meaning application_types[]{
    {0x01, "DVB-J"}, {0x02, "DVB-HTML"}, {0x06, "ACAP-J"}, {0x07, "ARIB-BML"}, {0x10, "HbbTV"}, {0x11, "OIPF DAE"},
};

constexpr Meaning application_control_codes[]{
    {0x01, "AUTOSTART"}, {0x02, "PRESENT"}, {0x03, "DESTROY"},  {0x04, "KILL"},
    {0x05, "PREFETCH"},  {0x06, "REMOTE"},  {0x07, "DISABLED"}, {0x08, "PLAYBACK_AUTOSTART"},
};

constexpr Meaning visibilities[]{
    {0x00, "not visible to users nor to applications"},
    {0x01, "visible to applications only"},
    {0x03, "visible to users and applications"},
};

constexpr Meaning protocol_ids[]{
    {0x01, "object carousel"},
    {0x02, "IP by multiprotocol encapsulation"},
    {0x03, "HTTP"},
};

constexpr Meaning usage_types[]{
    {0x01, "digital text application"},
};
} // namespace

void add_application_meanings(MeaningIndex& index)
{
    index.add("application_type", application_types);
    index.add("application_control_code", application_control_codes);
    index.add("visibility", visibilities);
    index.add("protocol_id", protocol_ids);
    index.add("usage_type", usage_types);
}
} // namespace mpegcore
