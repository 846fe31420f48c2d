// SPDX-License-Identifier: LGPL-2.1-or-later
// make_pat PROGRAM:PID...: writes one transport packet with a program association section to standard output.
#include "mpegcore/PAT.h"
#include "mpegcore/TransportPacket.h"
#include "zqsdk/ZQBSWriter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

int main(int argc, char** argv)
{
    mpegcore::CPAT table(nullptr, 4096);
    table.section_syntax_indicator = 1;
    table.CBaseMpegTable::reserved = 3; // in the header of every table; the program association section has its own
    table.reserved = 3;
    table.transport_stream_id = 1;
    table.current_next_indicator = 1;
    for (int at = 1; at < argc; ++at) {
        unsigned program_number = 0, PID = 0;
        if (std::sscanf(argv[at], "%u:%u", &program_number, &PID) != 2 || PID >= mpegcore::pid_count) {
            std::fprintf(stderr, "usage: make_pat PROGRAM:PID...\n");
            return 2;
        }
        auto& program = table.programs[static_cast<std::uint16_t>(PID)];
        program.program_number = static_cast<std::uint16_t>(program_number);
        program.reserved = 7;
        program.PID = static_cast<std::uint16_t>(PID);
    }

    // Everything the section leaves of the packet is stuffing.
    std::array<unsigned char, mpegcore::ts_packet_size> packet;
    packet.fill(0xFF);
    constexpr unsigned long section_at = mpegcore::ts_header_size + 1;
    if (!table.RenderTable() || table.used > packet.size() - section_at) {
        std::fprintf(stderr, "make_pat: the section does not fit one packet\n");
        return 1;
    }
    ZQSDK::ZQBSWriterT<unsigned char*> header(packet.data(), section_at);
    header.putBits<8>(mpegcore::ts_sync_byte);
    header.putBits<3>(2U);  // payload_unit_start_indicator
    header.putBits<13>(0U); // the PID of the program association table
    header.putBits<4>(1U);  // payload only
    header.putBits<4>(0U);  // continuity_counter
    header.putBits<8>(0U);  // pointer_field
    header.flush();
    std::copy_n(table.buffer, table.used, packet.data() + section_at);
    return std::fwrite(packet.data(), packet.size(), 1, stdout) == 1 ? 0 : 1;
}
