// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/program_tables.h"

#include "mpegcore/PAT.h"
#include "mpegcore/PMT.h"

#include <algorithm>
#include <memory>

namespace t2mi
{
namespace
{
constexpr unsigned long section_capacity = mpegcore::ts_payload_size;
constexpr std::uint8_t private_data_stream = 0x06;
constexpr std::uint16_t no_PCR = 0x1FFF;

/// The fields that PAT and PMT have in common.
template <class Table>
void fill_header(Table& table, std::uint8_t table_id)
{
    table.table_id = table_id;
    table.section_syntax_indicator = 1;
    table.mpegcore::CBaseMpegTable::reserved = 3;
    table.reserved = 3;
    table.current_next_indicator = 1;
}

/// The section behind a pointer_field of 0. A section of one entry fits in any case.
template <class Table>
ts_packet render_packet(std::uint16_t PID, Table& table)
{
    ts_packet packet;
    packet.fill(0xFF);
    packet[0] = mpegcore::ts_sync_byte;
    packet[1] = static_cast<unsigned char>(0x40 | PID >> 8);
    packet[2] = static_cast<unsigned char>(PID);
    packet[3] = 0x1F; // the first sending steps the counter to 0
    packet[4] = 0;
    if (table.RenderTable())
        std::copy_n(table.buffer, table.used, packet.begin() + 5);
    return packet;
}

ts_packet render_PAT(const t2mi_options& options)
{
    mpegcore::CPAT pat(nullptr, section_capacity);
    fill_header(pat, 0x00);
    pat.transport_stream_id = options.transport_stream_id;
    auto& program = pat.programs[options.pmt_PID];
    program.program_number = options.program_number;
    program.reserved = 7;
    program.PID = options.pmt_PID;
    return render_packet(0x0000, pat);
}

ts_packet render_PMT(const t2mi_options& options)
{
    mpegcore::CPMT pmt(nullptr, section_capacity);
    fill_header(pmt, 0x02);
    pmt.program_number = options.program_number;
    pmt.reserved2 = 7;
    pmt.PCR_PID = no_PCR;
    pmt.reserved3 = 0xF;
    auto stream = std::make_shared<mpegcore::CBaseStreamTypeMap>();
    stream->stream_type = private_data_stream;
    stream->reserved = 7;
    stream->elementary_PID = options.t2mi_PID;
    stream->reserved2 = 0xF;
    pmt.streams[options.t2mi_PID] = stream;
    return render_packet(options.pmt_PID, pmt);
}
} // namespace

program_tables::program_tables(const t2mi_options& options) : m_packets{render_PAT(options), render_PMT(options)} {}

void program_tables::send(const ts_sink& sink)
{
    for (auto& packet : m_packets) {
        packet[3] = static_cast<unsigned char>(0x10 | ((packet[3] + 1) & 0x0F));
        sink(packet.data());
    }
}
} // namespace t2mi
