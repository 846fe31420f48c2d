// SPDX-License-Identifier: LGPL-2.1-or-later
// T2-MI packets straight into the demultiplexer, for long runs: an input takes microseconds where t2mi_demux makes and
// compares whole streams. The first byte are the settings; then come packets, each a byte of what is wrong with it, a
// size and its payload. Lengths and checksums are right unless that byte says otherwise.
#include "fuzz/CheckedListener.h"
#include "tools/t2mi/t2mi_packet.h"
#include "tools/t2mi/t2mi_packetizer.h"

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <memory>
#include <vector>

namespace t2mi_packets_target
{
using mpegcore::T2MIDemultiplexer;

constexpr std::uint16_t PID = 0x1000;

enum fault : std::uint8_t
{
    type_of_its_own = 3, ///< the payload's first byte; else 0x00, 0x10 or 0x20
    is_long = 0x04,      ///< the payload 16 times
    loses_count = 0x08,
    bad_CRC = 0x10,
    other_stream = 0x20,
    loses_transport_packet = 0x40,
    raw_BBHEADER = 0x80,
};

/// Makes the data field fill the packet and the CRC-8 good. The mode, which is added to it, is the last bit of the byte
/// in its place.
void repair_frame(std::vector<unsigned char>& packet)
{
    unsigned char* const header = packet.data() + t2mi::t2mi_header_size + t2mi::baseband_prefix_size;
    const std::size_t DFL = 8 * (packet.size() - t2mi::data_field_offset);
    header[4] = static_cast<unsigned char>(DFL >> 8);
    header[5] = static_cast<unsigned char>(DFL);
    header[9] = static_cast<unsigned char>(mpegcore::crc8_dvb(header, 9) ^ (header[9] & 1U));
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::uint8_t settings = *data;
    const std::uint8_t* const end = data + size;
    t2mi_fuzz::CheckedListener listener;
    const auto demultiplexer = std::make_unique<T2MIDemultiplexer>(listener);
    demultiplexer->set_PID(PID);
    demultiplexer->set_restore_nulls((settings & 1) != 0);
    demultiplexer->set_merge_common_PLPs((settings & 2) != 0);
    if ((settings & 4) != 0)
        demultiplexer->set_stream_id(settings >> 3 & 1);
    if ((settings & 16) != 0)
        demultiplexer->set_PLPs(std::bitset<256>().set(0).set(1));

    bool loses_next = false;
    t2mi::t2mi_packetizer packetizer(
        PID,
        [&](const unsigned char* packet) {
            if (!loses_next)
                demultiplexer->put_packet(packet);
            loses_next = false;
        },
        (settings & 32) == 0);
    t2mi::t2mi_header header;
    std::vector<unsigned char> packet;
    for (++data; end - data >= 2;) {
        const std::uint8_t faults = *data++;
        const std::ptrdiff_t said = *data++;
        const std::ptrdiff_t payload = std::min(said, end - data);
        packet.assign(t2mi::t2mi_header_size, 0);
        for (int times = (faults & is_long) != 0 ? 16 : 1; times != 0; --times)
            packet.insert(packet.end(), data, data + payload);
        constexpr unsigned char types[] = {0x00, 0x10, 0x20};
        const unsigned kind = faults & type_of_its_own;
        header.type = static_cast<t2mi::packet_type>(kind < 3 ? types[kind] : payload > 0 ? *data : 0);
        data += payload;
        header.packet_count = static_cast<std::uint8_t>(header.packet_count + ((faults & loses_count) != 0 ? 2 : 1));
        header.t2mi_stream_id = (faults & other_stream) != 0 ? 1 : 0;
        if (header.type == t2mi::packet_type::baseband_frame && (faults & raw_BBHEADER) == 0 &&
            packet.size() > t2mi::data_field_offset)
            repair_frame(packet);
        t2mi::finish_packet(packet, header);
        if ((faults & bad_CRC) != 0)
            packet.back() ^= 1U;
        loses_next = loses_next || (faults & loses_transport_packet) != 0;
        packetizer.put(packet.data(), packet.size());
    }
    packetizer.flush();
    demultiplexer->finish();
    return 0;
}
} // namespace t2mi_packets_target
