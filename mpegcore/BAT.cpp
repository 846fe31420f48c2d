// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BAT.h"

#include "mpegcore/TableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t fixed_length = 13;
constexpr std::uint32_t transport_stream_length = 6;
} // namespace

void CBouquetAssociationStream::copyTo(CBouquetAssociationStream* target) const
{
    if (target == nullptr || target == this)
        return;
    target->transport_stream_id = transport_stream_id;
    target->original_network_id = original_network_id;
    target->reserved_future_use = reserved_future_use;
    transport_descriptors.copyTo(target->transport_descriptors);
    target->transport_descriptors_length =
        static_cast<std::uint16_t>(target->transport_descriptors.getSize() + transport_stream_length);
}

template <class Self, class Io>
bool CBAT::syntax(Self& t, Io& io)
{
    // The one place where reading and writing differ: read descriptors all go to the table.
    const auto stream = [&](auto& entry) {
        if constexpr (Io::reading)
            return CBouquetAssociationStream::syntax(entry, io, t.bouquet_descriptors);
        else
            return CBouquetAssociationStream::syntax(entry, io, entry.transport_descriptors);
    };
    return io.bits(16, t.bouquet_id) && io.bits(2, t.reserved) && version_and_sections(t, io) &&
           io.bits(4, t.reserved_future_use) &&
           io.length(12, t.bouquet_descriptors_length, t.bouquet_descriptors.getSize()) &&
           io.descriptors(t.bouquet_descriptors_length, t.bouquet_descriptors) && io.bits(4, t.reserved_future_use2) &&
           io.length(12, t.transport_stream_loop_length, t.calc_transport_stream_loop_length()) &&
           io.within(t.transport_stream_loop_length,
                     [&] { return io.loop(transport_stream_length, t.transport_streams, stream); });
}

void CBAT::Clear()
{
    bouquet_descriptors.clear();
    transport_streams.clear();
    CBaseMpegTable::Clear();
}

bool CBAT::read(Reader& reader)
{
    return read_section(reader, [this](Reader& section) {
        return read_body(section, CRC_32, [this](TableReader& io) { return syntax(*this, io); });
    });
}

std::uint32_t CBAT::calc_transport_stream_loop_length() const
{
    std::uint32_t length = 0;
    for (const auto& stream : transport_streams)
        if (stream)
            length += transport_stream_length + stream->transport_descriptors.getSize();
    return length;
}

std::uint32_t CBAT::calc_section_length() const
{
    return fixed_length + bouquet_descriptors.getSize() + calc_transport_stream_loop_length();
}

bool CBAT::RenderTable()
{
    return render_section(CRC_32, [this](Writer& writer) {
        TableWriter io(writer);
        return syntax(*this, io);
    });
}

void CBAT::copyTo(CBAT* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_header(*target);
    target->bouquet_id = bouquet_id;
    target->reserved = reserved;
    target->version_number = version_number;
    target->current_next_indicator = current_next_indicator;
    target->section_number = section_number;
    target->last_section_number = last_section_number;
    target->reserved_future_use = reserved_future_use;
    target->bouquet_descriptors_length =
        static_cast<std::uint16_t>(replace_descriptors(bouquet_descriptors, target->bouquet_descriptors));
    target->reserved_future_use2 = reserved_future_use2;
    copy_entries(transport_streams, target->transport_streams);
    target->transport_stream_loop_length = static_cast<std::uint16_t>(target->calc_transport_stream_loop_length());
    target->CRC_32 = CRC_32;
    target->section_length = static_cast<std::uint16_t>(target->calc_section_length());
}
} // namespace mpegcore
