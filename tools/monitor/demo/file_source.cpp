// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/demo/file_source.h"

#include <algorithm>

namespace monitor
{
bool file_source::next(timed_packet& packet)
{
    m_ended = m_ended || m_file.next() != t2mi::ts_file_reader::result::packet;
    if (m_ended)
        return false;
    std::copy_n(m_file.packet(), packet.bytes.size(), packet.bytes.begin());
    packet.due = m_clock.stamp(packet.bytes.data());
    return true;
}
} // namespace monitor
