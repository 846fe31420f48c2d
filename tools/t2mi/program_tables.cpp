// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/program_tables.h"

#include "mpegcore/PAT.h"
#include "mpegcore/PMT.h"
#include "mpegcore/descriptors/T2_MI_descriptor.h"
#include "mpegcore/sections/TablePID.h"

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

/// A section of one entry fits in any case.
template <class Table>
std::vector<unsigned char> render_section(Table& table)
{
    if (!table.RenderTable())
        return {};
    return {table.buffer, table.buffer + table.used};
}

std::vector<unsigned char> render_PAT(const t2mi_options& options)
{
    mpegcore::CPAT pat(nullptr, section_capacity);
    fill_header(pat, 0x00);
    pat.transport_stream_id = options.transport_stream_id;
    auto& program = pat.programs[options.pmt_PID];
    program.program_number = options.program_number;
    program.reserved = 7;
    program.PID = options.pmt_PID;
    return render_section(pat);
}

std::vector<unsigned char> render_PMT(const t2mi_options& options)
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
    if (options.T2MI_descriptor) {
        auto descriptor = std::make_shared<mpegcore::T2_MI_descriptor>();
        descriptor->descriptor_tag_extension = 0x11;
        descriptor->t2mi_stream_id = options.t2mi_stream_id;
        descriptor->descriptor_length = 4;
        stream->descriptors.append(descriptor);
    }
    pmt.streams[options.t2mi_PID] = stream;
    return render_section(pmt);
}
} // namespace

program_tables::program_tables(const t2mi_options& options)
    : m_tables{sent_table{render_PAT(options), mpegcore::SectionPacketizer(mpegcore::TablePID::PAT)},
               sent_table{render_PMT(options), mpegcore::SectionPacketizer(options.pmt_PID)}}
{}

void program_tables::send(const ts_sink& sink)
{
    for (auto& table : m_tables)
        static_cast<void>(table.packetizer.put(table.section.data(), table.section.size(), sink)); // it is a section
}
} // namespace t2mi
