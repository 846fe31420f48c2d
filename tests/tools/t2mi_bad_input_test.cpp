// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Encapsulated.h"
#include "support/rounds.h"

#include <gmock/gmock.h>

#include <map>

namespace t2mi_bad_input_test
{
using namespace zqtest;

// Whatever happens to the stream: no packet comes out that did not go in, the order stays, and behind the damage
// everything comes again.

constexpr unsigned damaged_packets = 200; // pushed packets in the part that is damaged
constexpr unsigned all_packets = 400;

class Damage : public testing::TestWithParam<unsigned>
{
protected:
    void SetUp() override
    {
        t2mi::t2mi_options options;
        // 500 and 187 have no common factor: rests repeat after 187 frames only, so that parts of different packets,
        // which are joined by their lengths alone, never fit.
        options.data_field_bytes_min = options.data_field_bytes_max = 500;
        Encapsulated mix(options);
        for (unsigned at = 0; at < all_packets; ++at) {
            const Bytes packet = random_packet(random);
            index[Bytes(packet.begin() + 1, packet.end())] = at;
            mix.push(0, packet);
            if (at + 1 == damaged_packets)
                head = mix.data;
        }
        mix.encapsulator.flush();
        // The tables may be damaged, too, and come again.
        tail = known_stream().data + slice(mix.data, head.size(), mix.data.size() - head.size());
    }

    std::size_t below(std::size_t limit) { return random() % limit; }
    std::size_t packets() const { return head.size() / 188; }
    unsigned char* any_packet() { return head.data() + 188 * below(packets()); }

    void check()
    {
        const auto recording = decapsulated_stream(head + tail, 0, 1 + below(2000));
        std::vector<unsigned> order;
        for (const auto& packet : recording.packets) {
            const auto found = index.find(packet);
            ASSERT_NE(found, index.end()) << "a packet that was not whole in the input";
            order.push_back(found->second);
        }
        for (std::size_t at = 1; at < order.size(); ++at)
            ASSERT_LT(order[at - 1], order[at]);
        // The three frames around the end of the damage may suffer from it, 8 packets.
        constexpr unsigned sure = all_packets - damaged_packets - 8;
        ASSERT_GE(order.size(), sure);
        ASSERT_EQ(order[order.size() - sure], all_packets - sure);
    }

    std::mt19937 random{GetParam()};
    std::map<Bytes, unsigned> index;
    Bytes head;
    Bytes tail;
};

TEST_P(Damage, ByFlippedBitsIsContained)
{
    for (std::size_t flips = 1 + below(40); flips > 0; --flips)
        head[below(head.size())] ^= static_cast<unsigned char>(1U << below(8));
    check();
}

TEST_P(Damage, ByDroppedPacketsIsContained)
{
    for (std::size_t drops = 1 + below(20); drops > 0; --drops) {
        const auto at = head.begin() + static_cast<std::ptrdiff_t>(188 * (2 + below(packets() - 2)));
        head.erase(at, at + 188);
    }
    check();
}

TEST_P(Damage, ByDoubledPacketsIsContained)
{
    for (std::size_t doubles = 1 + below(20); doubles > 0; --doubles) {
        const std::size_t at = 188 * below(packets());
        const Bytes packet = slice(head, at, 188);
        head.insert(head.begin() + static_cast<std::ptrdiff_t>(at), packet.begin(), packet.end());
    }
    check();
}

TEST_P(Damage, ByGarbageBetweenPacketsIsContained)
{
    for (std::size_t pieces = 1 + below(10); pieces > 0; --pieces) {
        Bytes garbage(1 + below(400));
        for (auto& byte : garbage)
            byte = static_cast<unsigned char>(random());
        head.insert(head.begin() + static_cast<std::ptrdiff_t>(188 * below(packets())), garbage.begin(), garbage.end());
    }
    check();
}

TEST_P(Damage, ByWrongPointerFieldsIsContained)
{
    for (std::size_t at = 188 * 2; at < head.size(); at += 188)
        if ((head[at + 1] & 0x40) != 0 && (head[at + 3] & 0x20) == 0 && below(4) == 0)
            head[at + 4] = static_cast<unsigned char>(random());
    check();
}

TEST_P(Damage, ByLostStartsIsContained)
{
    for (std::size_t at = 188 * 2; at < head.size(); at += 188)
        if (below(4) == 0)
            head[at + 1] &= 0xBF;
    check();
}

TEST_P(Damage, ByRandomHeadersIsContained)
{
    for (std::size_t count = 1 + below(20); count > 0; --count) {
        unsigned char* const packet = any_packet();
        for (std::size_t at = 0; at < 6; ++at)
            packet[at] = static_cast<unsigned char>(random());
    }
    check();
}

TEST_P(Damage, ByLongRunsWithoutAStartIsContained)
{
    const Bytes packet = slice(head, 188 * 10, 188);
    for (std::size_t count = 350 + below(50); count > 0; --count) {
        head = head + packet;
        head[head.size() - 187] &= 0xBF;
    }
    check();
}

INSTANTIATE_TEST_SUITE_P(OfSeed, Damage, testing::Range(1U, 26U, zqtest::stride(5)));

/// The rules for one frame after the other, in the plainest words.
std::vector<Bytes> expected_packets(const std::vector<Frame>& frames)
{
    std::vector<Bytes> packets;
    Bytes carry;
    for (const auto& frame : frames) {
        const Bytes field = slice(frame.packet(), 19, frame.data.size() + 4);
        const std::size_t size = static_cast<std::size_t>(frame.DFL) / 8;
        const std::size_t first = frame.SYNCD / 8;
        if (frame.mode > 1 || size > field.size())
            continue;
        if (frame.SYNCD == 0xFFFF || first > size) {
            carry.clear();
            continue;
        }
        if (first != 0 && carry.size() + first == 187) {
            packets.push_back(carry + slice(field, 0, first));
            carry.clear();
        }
        std::size_t at = first;
        for (; at + 187 <= size; at += 187)
            packets.push_back(slice(field, at, 187));
        if (at != size)
            carry = slice(field, at, size - at);
    }
    return packets;
}

TEST(RandomFrames, AreCutAsTheirFieldsSay)
{
    std::mt19937 random(11);
    std::size_t packets = 0;
    for (unsigned round = 0; round < 300; ++round) {
        std::vector<Frame> frames;
        std::vector<Bytes> bytes;
        for (unsigned at = 0; at < 20; ++at) {
            Frame frame;
            frame.data = pattern(random() % 1500, random());
            const bool wild = random() % 4 == 0;
            frame.DFL = static_cast<int>(wild ? random() % 65536 : 8 * (random() % (frame.data.size() + 6)));
            frame.SYNCD = static_cast<unsigned>(wild ? random() % 65536 : 8 * (random() % 188));
            // Often the one that fits what the frame before left.
            if (!frames.empty() && random() % 2 == 0)
                frame.SYNCD = 8 * ((frames.back().SYNCD / 8 + 187 * 100 - frames.back().DFL / 8) % 187);
            frame.mode = random() % 5 == 0 ? random() % 256 : random() % 2;
            frames.push_back(frame);
            bytes.push_back(frame.packet());
        }
        const auto expected = expected_packets(frames);
        ASSERT_EQ(decapsulated_stream(stream_of(bytes).data, 0).packets, expected) << round;
        packets += expected.size();
    }
    EXPECT_GT(packets, 5000U);
}
} // namespace t2mi_bad_input_test
