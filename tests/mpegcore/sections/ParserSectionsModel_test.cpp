// SPDX-License-Identifier: LGPL-2.1-or-later
// The sections that the parser reports by the standard beside a model that goes byte by byte, over multiplexes of
// random streams with faults, whole and in pieces.
#include "mpegcore/BaseMpegParser.h"
#include "support/RandomSectionPackets.h"
#include "support/rounds.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>
#include <tuple>

namespace ParserSectionsModel_test
{
using zqtest::Bytes;

/// The packet that ended it, its PID, its bytes, whether its CRC_32 is good or not needed.
using Reported = std::tuple<std::size_t, unsigned, Bytes, bool>;

constexpr unsigned callers_PID = 0x300, nobodys_PID = 0x301, first_PMT_PID = 0x100, second_PMT_PID = 0x101;

class Lister : public mpegcore::CBaseMpegParser
{
public:
    Lister() : CBaseMpegParser(true)
    {
        set_sections_by_the_standard(true);
        EXPECT_TRUE(add_section_PID(callers_PID));
    }

    void OnProcess(unsigned int, mpegcore::transport_packet&) override { ++m_index; }
    void OnSection(unsigned short PID, const unsigned char* section, unsigned long size) override
    {
        reported.emplace_back(m_index, PID, Bytes(section, section + size), true);
    }
    void OnSectionCRCFailed(unsigned short PID, const unsigned char* section, unsigned long size) override
    {
        reported.emplace_back(m_index, PID, Bytes(section, section + size), false);
    }

    std::vector<Reported> reported;

private:
    std::size_t m_index = 0;
};

unsigned PID_of(const Bytes& packet) { return (packet[1] & 0x1FU) << 8 | packet[2]; }

/// By a model for each PID; those of PMTs are listened to from the packet behind their PAT on.
std::vector<Reported> modelled(const std::vector<Bytes>& packets)
{
    std::set<unsigned> PIDs{0x00, 0x01, 0x02, 0x10, 0x11, 0x12, 0x13, 0x14, 0x1E, 0x1F, callers_PID};
    std::map<unsigned, zqtest::SectionModel> models;
    std::vector<Reported> reported;
    for (std::size_t index = 0; index < packets.size(); ++index) {
        const unsigned PID = PID_of(packets[index]);
        if (PIDs.count(PID) == 0)
            continue;
        auto& model = models[PID];
        const std::size_t before = model.sections.size();
        model.put(packets[index]);
        for (std::size_t at = before; at < model.sections.size(); ++at) {
            const auto& [packet, bytes, is_good] = model.sections[at];
            reported.emplace_back(index, PID, bytes, is_good);
            if (PID == 0 && is_good && (bytes[5] & 1) != 0)
                for (std::size_t entry = 8; entry + 8 <= bytes.size(); entry += 4)
                    PIDs.insert((bytes[entry + 2] & 0x1FU) << 8 | bytes[entry + 3]);
        }
    }
    return reported;
}

/// With more of it than a packet holds, the parser drops the packet.
void leave_out_private_data(Bytes& packet)
{
    if ((packet[3] & 0x20U) != 0 && packet[4] != 0)
        packet[5] = static_cast<unsigned char>(packet[5] & ~2U);
}

Bytes PAT(unsigned version, bool with_second, bool current)
{
    Bytes section = zqtest::long_section(0x00, with_second ? 8 : 4, 1, version, 0, 0, current);
    const std::array<unsigned char, 8> programs{0, 1, 0xE1, 0x00, 0, 2, 0xE1, 0x01};
    std::copy(programs.begin(), programs.begin() + (with_second ? 8 : 4), section.begin() + 8);
    return zqtest::with_CRC(section);
}

/// Streams of several PIDs, a packet of one here and there, with PATs between them.
std::vector<Bytes> multiplex(unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<std::vector<Bytes>> streams;
    for (const unsigned PID :
         {0x01U, 0x10U, 0x11U, 0x12U, 0x14U, 0x1EU, first_PMT_PID, second_PMT_PID, callers_PID, nobodys_PID})
    {
        zqtest::RandomSectionPackets made(seed * 16 + PID, PID);
        streams.push_back(made.damaged(made.make(12)));
        std::reverse(streams.back().begin(), streams.back().end());
    }
    zqtest::Stream PATs;
    PATs.section(0, PAT(0, false, true)).section(0, PAT(1, true, false)).section(0, PAT(1, true, true));
    streams.push_back(zqtest::packets_of(PATs.data));
    std::reverse(streams.back().begin(), streams.back().end());
    std::vector<Bytes> packets;
    while (!streams.empty()) {
        // The PATs' stream, the last one, is short: it comes when its turn is.
        const std::size_t at = random() % streams.size();
        if (at + 1 == streams.size() && streams.size() > 1 && random() % 8 != 0)
            continue;
        packets.push_back(streams[at].back());
        leave_out_private_data(packets.back());
        streams[at].pop_back();
        if (streams[at].empty())
            streams.erase(streams.begin() + static_cast<std::ptrdiff_t>(at));
    }
    return packets;
}

TEST(ParserSectionsModel, AgreesOverMultiplexesWithFaultsWholeAndInPieces)
{
    std::map<unsigned, std::size_t> good, failed;
    for (unsigned seed = 1; seed <= zqtest::rounds(30); ++seed) {
        const auto packets = multiplex(seed);
        const auto expected = modelled(packets);
        Bytes stream;
        for (const auto& packet : packets)
            stream.insert(stream.end(), packet.begin(), packet.end());
        std::mt19937 random(seed);
        for (const std::size_t most : {stream.size(), std::size_t{1}, std::size_t{1000}}) {
            Lister lister;
            for (std::size_t at = 0; at < stream.size();) {
                const std::size_t piece = most == 1000 ? 1 + random() % most : most;
                const std::size_t size = std::min(piece, stream.size() - at);
                lister.Process(stream.data() + at, size);
                at += size;
            }
            ASSERT_EQ(lister.reported, expected) << seed << " in pieces of " << most;
        }
        for (const auto& [packet, PID, bytes, is_good] : expected)
            ++(is_good ? good : failed)[PID];
    }
    for (const unsigned PID : {0x10U, 0x12U, first_PMT_PID, second_PMT_PID, callers_PID})
        EXPECT_GT(good[PID], zqtest::rounds(50)) << PID;
    EXPECT_EQ(good[0], 3 * zqtest::rounds(30));
    EXPECT_GT(failed[0x12], zqtest::rounds(3));
    EXPECT_EQ(good.count(nobodys_PID), 0U);
}
} // namespace ParserSectionsModel_test
