// SPDX-License-Identifier: LGPL-2.1-or-later
// The gatherer beside a model that goes byte by byte, over random streams.
#include "support/RandomSectionPackets.h"
#include "support/rounds.h"

#include <gmock/gmock.h>

#include <random>

namespace SectionGathererModel_test
{
using zqtest::Bytes;
using zqtest::RandomSectionPackets;

TEST(SectionGathererModel, AgreesOverRandomStreams)
{
    std::size_t good = 0, failed = 0;
    for (unsigned seed = 0; seed < zqtest::rounds(60); ++seed) {
        const auto packets = RandomSectionPackets(seed).make(60);
        const auto sections = zqtest::gathered(packets);
        ASSERT_EQ(sections, zqtest::modelled(packets)) << seed;
        for (const auto& section : sections)
            ++(section.is_good ? good : failed);
    }
    EXPECT_GT(good, zqtest::rounds(1000));
    EXPECT_GT(failed, zqtest::rounds(50));
}

TEST(SectionGathererModel, AgreesOverRandomStreamsWithFaults)
{
    std::size_t good = 0, failed = 0;
    for (unsigned seed = 0; seed < zqtest::rounds(120); ++seed) {
        RandomSectionPackets random(seed);
        const auto packets = random.damaged(random.make(60));
        const auto sections = zqtest::gathered(packets);
        ASSERT_EQ(sections, zqtest::modelled(packets)) << seed;
        for (const auto& section : sections)
            ++(section.is_good ? good : failed);
    }
    EXPECT_GT(good, zqtest::rounds(1000));
    EXPECT_GT(failed, zqtest::rounds(50));
}

TEST(SectionGathererModel, AgreesOverRandomBytes)
{
    std::mt19937 random(7);
    for (unsigned round = 0; round < 50; ++round) {
        std::vector<Bytes> packets(40, Bytes(188));
        unsigned counter = 0;
        for (auto& packet : packets) {
            for (auto& byte : packet)
                byte = static_cast<unsigned char>(random() % 4 == 0 ? 0 : random());
            packet[0] = 0x47;
            packet[1] = static_cast<unsigned char>(packet[1] & 0x7F);
            packet[3] = static_cast<unsigned char>(0x10 | (counter++ & 0x0F));
            packet[4] = static_cast<unsigned char>(random() % 8);
        }
        ASSERT_EQ(zqtest::gathered(packets), zqtest::modelled(packets)) << round;
    }
}
} // namespace SectionGathererModel_test
