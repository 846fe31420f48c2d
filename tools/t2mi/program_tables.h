// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionPacketizer.h"
#include "tools/t2mi/t2mi_options.h"
#include "tools/t2mi/t2mi_packetizer.h"

#include <array>
#include <vector>

namespace t2mi
{
/// PAT and PMT of a stream with one program whose one stream has type 0x06 (ISO/IEC 13818-1, 2.4.4), each in one
/// transport packet. There is no PCR.
class program_tables
{
public:
    explicit program_tables(const t2mi_options& options);

    /// Sends both, with continuity counters that go on from the last time.
    void send(const ts_sink& sink);

private:
    struct sent_table
    {
        std::vector<unsigned char> section;
        mpegcore::SectionPacketizer packetizer;
    };

    std::array<sent_table, 2> m_tables;
};
} // namespace t2mi
