// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/CRC.h"
#include "mpegcore/sections/SectionGatherer.h"
#include "support/SectionModel.h"
#include "support/Stream.h"

#include <memory>
#include <vector>

namespace zqtest
{
/// A section of table_id `id` with the long header, `body_size` bytes of body and the room of a CRC_32 announced.
inline Bytes long_section(unsigned id, std::size_t body_size, unsigned extension = 1, unsigned version = 0,
                          unsigned number = 0, unsigned last = 0, bool current = true)
{
    const std::size_t length = 5 + body_size + 4;
    Bytes section{
        static_cast<unsigned char>(id),        static_cast<unsigned char>(0xB0 | length >> 8),
        static_cast<unsigned char>(length),    static_cast<unsigned char>(extension >> 8),
        static_cast<unsigned char>(extension), static_cast<unsigned char>(0xC0 | version << 1 | (current ? 1 : 0)),
        static_cast<unsigned char>(number),    static_cast<unsigned char>(last)};
    for (std::size_t at = 0; at < body_size; ++at)
        section.push_back(static_cast<unsigned char>(at + extension));
    return section;
}

inline Bytes with_CRC(Bytes section)
{
    const std::uint32_t crc = mpegcore::crc32_mpeg2(section.data(), section.size());
    for (int shift = 24; shift >= 0; shift -= 8)
        section.push_back(static_cast<unsigned char>(crc >> shift));
    return section;
}

inline Bytes good_section(unsigned id, std::size_t body_size, unsigned extension = 1, unsigned version = 0,
                          unsigned number = 0, unsigned last = 0, bool current = true)
{
    return with_CRC(long_section(id, body_size, extension, version, number, last, current));
}

inline std::vector<Bytes> packets_of(const Bytes& data)
{
    std::vector<Bytes> packets;
    for (std::size_t at = 0; at + mpegcore::ts_packet_size <= data.size(); at += mpegcore::ts_packet_size)
        packets.emplace_back(data.begin() + static_cast<std::ptrdiff_t>(at),
                             data.begin() + static_cast<std::ptrdiff_t>(at + mpegcore::ts_packet_size));
    return packets;
}

/// What a SectionGatherer makes of the packets of one PID, each in a block of exactly its size.
inline std::vector<ModelSection> gathered(const std::vector<Bytes>& packets)
{
    mpegcore::SectionGatherer gatherer;
    std::vector<ModelSection> sections;
    for (std::size_t index = 0; index < packets.size(); ++index) {
        const std::unique_ptr<unsigned char[]> block(new unsigned char[mpegcore::ts_packet_size]);
        std::copy(packets[index].begin(), packets[index].end(), block.get());
        gatherer.put(block.get(), [&](const unsigned char* section, std::size_t size, mpegcore::SectionCheck check) {
            sections.push_back({index, Bytes(section, section + size), check == mpegcore::SectionCheck::good});
        });
    }
    return sections;
}

inline std::vector<ModelSection> modelled(const std::vector<Bytes>& packets)
{
    SectionModel model;
    for (const auto& packet : packets)
        model.put(packet);
    return model.sections;
}
} // namespace zqtest
