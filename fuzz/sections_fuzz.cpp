// SPDX-License-Identifier: LGPL-2.1-or-later
// The input is a row of records, of which packets of one PID are made: payloads as they are, sections with their CRC_32
// put right behind a pointer_field, repeated packets, counters that jump, indicators. The gatherer has to find the same
// sections in the same packets as a model that goes byte by byte, and so have two parsers, one that gets the stream
// whole and one that gets it in pieces.
#include "mpegcore/BaseMpegParser.h"
#include "support/SectionPackets.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace sections_target
{
using zqtest::Bytes;

constexpr unsigned short made_PID = 0x20;

class Maker
{
public:
    Maker(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size)
    {
        while (m_end - m_at >= 3)
            record();
    }

    std::vector<Bytes> packets;

private:
    void record()
    {
        const unsigned kind = m_at[0], flags = m_at[1];
        const std::size_t size = std::min<std::size_t>(m_at[2], static_cast<std::size_t>(m_end - m_at) - 3);
        const Bytes bytes(m_at + 3, m_at + 3 + size);
        m_at += 3 + size;
        if (kind % 8 == 0 && !packets.empty())
            packets.push_back(Bytes(packets.back()));
        else if (kind % 8 < 4)
            packet(kind, flags, bytes);
        else
            sections(kind, flags, bytes);
    }

    /// `size` bytes behind the header and, if they are fewer than 184, an adaptation field.
    void packet(unsigned kind, unsigned flags, const Bytes& bytes)
    {
        const auto start = (flags & 1U) != 0 ? zqtest::Stream::begins : zqtest::Stream::goes_on;
        zqtest::Stream one;
        if ((flags & 2U) != 0)
            one.raw(made_PID, start, flags >> 2 & 3U, bytes);
        else
            one.packet(
                0x20, start,
                {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(bytes.size(), 184))},
                {}, (flags & 4U) != 0 ? 0x80 : 0);
        if ((flags & 0xF0U) == 0xF0U)
            one.data[1] |= 0x80;
        if ((flags & 0xF0U) == 0xE0U)
            one.data[3] |= 0x80;
        count(one.data, kind);
    }

    /// The bytes as the body of a section, several of them back to back, cut into packets.
    void sections(unsigned kind, unsigned flags, const Bytes& bytes)
    {
        Bytes row;
        for (unsigned copies = 0; copies <= flags % 8; ++copies) {
            Bytes section{static_cast<unsigned char>(flags * 7), static_cast<unsigned char>(0xB0),
                          static_cast<unsigned char>(bytes.size() + 4)};
            section.insert(section.end(), bytes.begin(), bytes.end());
            const Bytes whole = zqtest::with_CRC(section);
            row.insert(row.end(), whole.begin(), whole.end());
        }
        const std::size_t room = 1 + flags / 8 * 5;
        for (std::size_t at = 0; at < row.size(); at += room) {
            Bytes payload(row.begin() + static_cast<std::ptrdiff_t>(at),
                          row.begin() + static_cast<std::ptrdiff_t>(std::min(row.size(), at + room)));
            if (at == 0)
                payload.insert(payload.begin(), 0);
            zqtest::Stream one;
            one.packet(made_PID, at == 0 ? zqtest::Stream::begins : zqtest::Stream::goes_on, payload);
            count(one.data, at == 0 ? kind : 0);
        }
    }

    void count(Bytes packet, unsigned kind)
    {
        m_counter += kind / 8 == 31 ? 2 : kind / 8 == 30 ? 0 : 1;
        packet[3] = static_cast<unsigned char>((packet[3] & 0xF0) | (m_counter & 0x0F));
        packets.push_back(std::move(packet));
    }

    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
    unsigned m_counter = 0;
};

/// With more of it than a packet holds, the parser drops the packet.
bool has_private_data(const Bytes& packet)
{
    return (packet[3] & 0x20U) != 0 && packet[4] != 0 && (packet[5] & 2U) != 0;
}

class Parser : public mpegcore::CBaseMpegParser
{
public:
    Parser() : CBaseMpegParser(true) { set_sections_by_the_standard(true); }

    void OnProcess(unsigned int, mpegcore::transport_packet&) override { ++m_index; }
    void OnSection(unsigned short, const unsigned char* section, unsigned long size) override
    {
        m_sections.push_back({m_index, Bytes(section, section + size), true});
    }
    void OnSectionCRCFailed(unsigned short, const unsigned char* section, unsigned long size) override
    {
        m_sections.push_back({m_index, Bytes(section, section + size), false});
    }

    std::vector<zqtest::ModelSection> sections_of(Bytes stream, std::size_t piece)
    {
        m_sections.clear();
        m_index = 0;
        clear_tables();
        remove_section_PID(made_PID); // forgets its packets
        if (!add_section_PID(made_PID))
            std::abort();
        for (std::size_t at = 0; at < stream.size(); at += piece)
            Process(stream.data() + at, std::min(piece, stream.size() - at));
        return m_sections;
    }

private:
    std::size_t m_index = 0;
    std::vector<zqtest::ModelSection> m_sections;
};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 4096)
        return 0;
    const Maker made(data, size);
    const auto sections = zqtest::modelled(made.packets);
    if (zqtest::gathered(made.packets) != sections)
        std::abort();
    if (std::any_of(made.packets.begin(), made.packets.end(), has_private_data))
        return 0;
    static auto* const whole = new Parser;
    static auto* const in_pieces = new Parser;
    Bytes stream;
    for (const auto& packet : made.packets)
        stream.insert(stream.end(), packet.begin(), packet.end());
    if (whole->sections_of(stream, stream.size() + 1) != sections ||
        in_pieces->sections_of(stream, 1 + size % 397) != sections)
        std::abort();
    return 0;
}
} // namespace sections_target
