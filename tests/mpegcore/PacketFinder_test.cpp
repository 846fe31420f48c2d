// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PacketFinder.h"
#include "support/Stream.h"

#include <gmock/gmock.h>

#include <random>

namespace PacketFinder_test
{
using zqtest::Bytes;

/// Packets whose bytes are random but never a sync byte, `before` bytes in front of each and `behind` after it.
struct Made
{
    Bytes bytes;
    std::vector<Bytes> packets;
};

Made make(std::size_t count, std::size_t before, std::size_t behind, unsigned seed = 1)
{
    std::mt19937 random(seed);
    Made made;
    const auto filler = [&random] {
        const auto byte = static_cast<unsigned char>(random());
        return byte == mpegcore::ts_sync_byte ? static_cast<unsigned char>(0) : byte;
    };
    for (; count > 0; --count) {
        Bytes packet(mpegcore::ts_packet_size);
        std::generate(packet.begin(), packet.end(), filler);
        packet[0] = mpegcore::ts_sync_byte;
        std::generate_n(std::back_inserter(made.bytes), before, filler);
        made.bytes.insert(made.bytes.end(), packet.begin(), packet.end());
        std::generate_n(std::back_inserter(made.bytes), behind, filler);
        made.packets.push_back(std::move(packet));
    }
    return made;
}

/// What a finder gets out of `bytes` in pieces of `size`, and what it says at the end.
struct Found
{
    Found(const Bytes& bytes, std::size_t size)
    {
        const auto sink = [this](const unsigned char* packet) {
            packets.emplace_back(packet, packet + mpegcore::ts_packet_size);
        };
        for (std::size_t at = 0; at < bytes.size(); at += size) {
            // A block of exactly this size, so that a sanitizer sees one byte too many.
            const Bytes piece(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                              bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at + size, bytes.size())));
            finder.put(piece.data(), piece.size(), sink);
        }
        finder.finish(sink);
    }

    mpegcore::PacketFinder finder;
    std::vector<Bytes> packets;
};

const std::vector<std::size_t> sizes{1, 7, 187, 188, 189, 204, 1000, 1316, 100'000};

TEST(PacketFinder, FindsPacketsOf188And192And204BytesInPiecesOfAnySize)
{
    const std::vector<std::pair<std::size_t, std::size_t>> forms{{0, 0}, {4, 0}, {0, 16}};
    for (const auto& [before, behind] : forms) {
        const Made made = make(40, before, behind);
        for (const auto size : sizes) {
            const Found found(made.bytes, size);
            EXPECT_EQ(found.packets, made.packets) << before << ' ' << behind << ' ' << size;
            EXPECT_EQ(found.finder.packet_distance(), 188 + before + behind);
            EXPECT_EQ(found.finder.skipped_bytes(), before);
        }
    }
}

TEST(PacketFinder, BeginsBehindBytesThatAreNoPackets)
{
    const Made made = make(20, 0, 0);
    for (const auto size : sizes) {
        Bytes bytes(333, 0x46);
        bytes[5] = mpegcore::ts_sync_byte;
        bytes.insert(bytes.end(), made.bytes.begin(), made.bytes.end());
        const Found found(bytes, size);
        EXPECT_EQ(found.packets, made.packets) << size;
        EXPECT_EQ(found.finder.skipped_bytes(), 333U);
    }
}

TEST(PacketFinder, LeavesOutAPacketWithoutItsSyncByteAndGoesOn)
{
    Made made = make(20, 0, 0);
    made.bytes[10 * mpegcore::ts_packet_size] = 0x48;
    made.packets.erase(made.packets.begin() + 10);
    for (const auto size : sizes)
        EXPECT_EQ(Found(made.bytes, size).packets, made.packets) << size;
}

TEST(PacketFinder, GoesOnBehindBytesThatAreMissing)
{
    Made made = make(20, 0, 0);
    made.bytes.erase(made.bytes.begin() + 10 * 188 + 50, made.bytes.begin() + 10 * 188 + 90);
    // Its packet seems whole; the one behind it lost its sync byte to it.
    for (const auto size : sizes) {
        const Found found(made.bytes, size);
        ASSERT_EQ(found.packets.size(), 20U - 1 + 0) << size;
        EXPECT_EQ(found.packets.back(), made.packets.back());
        EXPECT_EQ(found.packets[9], made.packets[9]);
        EXPECT_EQ(found.packets[11], made.packets[12]);
    }
}

TEST(PacketFinder, FollowsAChangeOfTheDistance)
{
    const Made first = make(20, 0, 0, 1);
    const Made second = make(20, 0, 16, 2);
    Bytes bytes = first.bytes;
    bytes.insert(bytes.end(), second.bytes.begin(), second.bytes.end());
    auto expected = first.packets;
    expected.insert(expected.end(), second.packets.begin(), second.packets.end());
    for (const auto size : sizes)
        EXPECT_EQ(Found(bytes, size).packets, expected) << size;
}

TEST(PacketFinder, TakesFewPacketsAtTheEndForWhatTheyAre)
{
    for (std::size_t count = 1; count < 7; ++count) {
        const Made made = make(count, 0, 0);
        EXPECT_EQ(Found(made.bytes, 1000).packets, made.packets) << count;
        Bytes longer = made.bytes;
        longer.resize(longer.size() + 100, 0x48);
        const Found found(longer, 1000);
        if (count > 1) {
            EXPECT_EQ(found.packets, made.packets) << count;
            EXPECT_EQ(found.finder.skipped_bytes(), 100U);
        }
    }
}

TEST(PacketFinder, FindsNothingInOtherBytes)
{
    EXPECT_TRUE(Found({}, 1).packets.empty());
    const Found text(Bytes(10'000, 'x'), 1000);
    EXPECT_TRUE(text.packets.empty());
    EXPECT_EQ(text.finder.skipped_bytes(), 10'000U);
    EXPECT_EQ(text.finder.packet_distance(), 0U);
}

TEST(PacketFinder, FindsTheSameInPiecesAsInTheWhole)
{
    std::mt19937 random(204);
    for (int round = 0; round < 300; ++round) {
        Bytes bytes;
        for (int part = 0; part < 6; ++part) {
            const std::vector<std::pair<std::size_t, std::size_t>> forms{{0, 0}, {4, 0}, {0, 16}};
            const auto& [before, behind] = forms[random() % 3];
            const Made made = make(random() % 12, before, behind, static_cast<unsigned>(random()));
            bytes.insert(bytes.end(), made.bytes.begin(), made.bytes.end());
            bytes.resize(bytes.size() + random() % 300, static_cast<unsigned char>(random() % 2 == 0 ? 0x47 : 0));
        }
        const Found whole(bytes, bytes.size() + 1);
        const Found pieces(bytes, 1 + random() % 1500);
        ASSERT_EQ(pieces.packets, whole.packets) << round;
        ASSERT_EQ(pieces.finder.skipped_bytes(), whole.finder.skipped_bytes()) << round;
    }
}

TEST(PacketFinder, TellsHowManyBytesAreMissingUpToTheNextPacket)
{
    for (const std::size_t distance : {188U, 192U, 204U}) {
        const Made made = make(20, 0, distance - 188);
        mpegcore::PacketFinder finder;
        EXPECT_EQ(finder.awaited(), 0U);
        for (std::size_t at = 0; at < made.bytes.size(); at += 50) {
            const std::size_t size = std::min<std::size_t>(50, made.bytes.size() - at);
            finder.put(made.bytes.data() + at, size, [](const unsigned char*) {});
            if (finder.packet_distance() != 0) {
                EXPECT_EQ(finder.awaited(), (distance - (at + size) % distance) % distance);
            }
        }
        EXPECT_EQ(finder.packet_distance(), distance);
        finder.finish([](const unsigned char*) {});
        EXPECT_EQ(finder.awaited(), 0U);
    }
}
} // namespace PacketFinder_test
