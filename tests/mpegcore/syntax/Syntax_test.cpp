// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/syntax/Syntax.h"
#include "mpegcore/zqdescriptorlist.h"
#include "support/descriptor_loops.h"

#include <functional>

namespace Syntax_test
{
using namespace mpegcore;
using namespace zqtest;

/// What `walk`, given a SyntaxWriter, stores into a block of exactly `room` bytes; `whole` is what it returned.
Bytes write_into(std::size_t room, const std::function<bool(SyntaxWriter&)>& walk, bool whole = true)
{
    ExactBlock block(room);
    Writer writer(block.data(), room);
    SyntaxWriter io(writer);
    EXPECT_EQ(walk(io), whole);
    writer.flush();
    return block.bytes(writer.bytesWritten());
}

/// Hands `walk` a SyntaxReader over a block of exactly `bytes` and returns how many bytes it left.
std::size_t read_from(const Bytes& bytes, const std::function<bool(SyntaxReader&)>& walk, bool whole = true)
{
    ExactBlock block(bytes);
    auto reader = block.reader();
    SyntaxReader io(reader);
    EXPECT_EQ(walk(io), whole);
    return reader.availableBytes();
}

struct Pair
{
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(4, "left", d.left) && io.bits(12, "right", d.right);
    }

    std::uint8_t left = 0;
    std::uint16_t right = 0;
};

TEST(Syntax, ReadsFieldsOfAnyWidth)
{
    std::uint8_t flag = 0;
    std::uint16_t pid = 0;
    std::uint64_t time = 0;
    const auto walk = [&](SyntaxReader& io) {
        return io.bits(3, "flag", flag) && io.bits(13, "pid", pid) && io.bits(40, "time", time);
    };
    EXPECT_EQ(read_from({0xA1, 0x23, 0xC0, 0x79, 0x12, 0x45, 0x00}, walk), 0U);
    EXPECT_EQ(flag, 5);
    EXPECT_EQ(pid, 0x0123);
    EXPECT_EQ(time, 0xC079124500U);
}

TEST(Syntax, FailsWhenAFieldRunsPastTheData)
{
    std::uint16_t field = 0;
    read_from(
        {0xFF}, [&](SyntaxReader& io) { return io.bits(9, "field", field); }, false);
    read_from(
        {}, [&](SyntaxReader& io) { return io.bits(1, "field", field); }, false);
}

TEST(Syntax, CutsWhatItWritesToTheWidthOfTheField)
{
    const std::uint16_t wide = 0xFFFF;
    const auto walk = [&](SyntaxWriter& io) {
        return io.bits(4, "zero", std::uint8_t{0}) && io.bits(2, "wide", wide) &&
               io.bits(2, "zero", std::uint8_t{0x84}) && io.bits(64, "ones", ~std::uint64_t{0});
    };
    EXPECT_EQ(write_into(16, walk), (Bytes{0x0C} + Bytes(8, 0xFF)));
}

TEST(Syntax, DropsReservedBitsAndWritesOnes)
{
    std::uint8_t field = 0;
    EXPECT_EQ(read_from({0x05}, [&](SyntaxReader& io) { return io.reserved(5) && io.bits(3, "field", field); }), 0U);
    EXPECT_EQ(field, 5);
    EXPECT_EQ(write_into(4, [&](SyntaxWriter& io) { return io.reserved(5) && io.bits(3, "field", field); }),
              Bytes{0xFD});
}

TEST(Syntax, KeepsALengthAsReadAndWritesItAsMeasured)
{
    std::uint16_t stored = 0;
    read_from({0x01, 0x23}, [&](SyntaxReader& io) { return io.length(16, "stored", stored, 7); });
    EXPECT_EQ(stored, 0x0123);
    EXPECT_EQ(write_into(4, [&](SyntaxWriter& io) { return io.length(16, "stored", stored, 7); }), (Bytes{0, 7}));
    EXPECT_EQ(stored, 0x0123);
}

TEST(Syntax, ReadsAndWritesArraysVectorsAndBuffers)
{
    std::array<unsigned char, 3> code{};
    std::array<unsigned char, 4> name{'_', '_', '_', '_'};
    std::vector<unsigned char> bytes{9, 9, 9};
    ZQSDK::ZQAlignMemory<unsigned char> buffer;
    const Bytes all = Bytes{'d', 'e', 'u', 'a', 'b', 1, 2, 3, 4, 5, 6, 7, 8, 9, 0x55, 0x66};
    const auto walk = [&](auto& io) {
        return io.bytes("code", code) && io.bytes(2, "name", name) && io.bytes(9, "bytes", bytes) &&
               io.bytes(2, "buffer", buffer);
    };
    EXPECT_EQ(read_from(all, walk), 0U);
    EXPECT_EQ(text(code), "deu");
    EXPECT_EQ(text(name), "ab__");
    EXPECT_EQ(bytes, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(buffer.size(), 2U);
    EXPECT_EQ(write_into(64, walk), all);
}

TEST(Syntax, ConsumesAllBytesOfWhichAnArrayKeepsTheFirst)
{
    std::array<unsigned char, 2> kept{};
    EXPECT_EQ(read_from({1, 2, 3, 4, 5}, [&](SyntaxReader& io) { return io.bytes(4, "kept", kept); }), 1U);
    EXPECT_EQ(kept, (std::array<unsigned char, 2>{1, 2}));
    EXPECT_EQ(write_into(8, [&](SyntaxWriter& io) { return io.bytes(4, "kept", kept); }), (Bytes{1, 2}));
}

TEST(Syntax, ReadsAndWritesBytesBetweenByteBoundaries)
{
    std::uint8_t high = 0, low = 0;
    std::vector<unsigned char> bytes;
    const auto walk = [&](auto& io) {
        return io.bits(4, "high", high) && io.bytes(2, "bytes", bytes) && io.bits(4, "low", low);
    };
    read_from({0xA1, 0x23, 0x4B}, walk);
    EXPECT_EQ(bytes, (Bytes{0x12, 0x34}));
    EXPECT_EQ(low, 0xB);
    EXPECT_EQ(write_into(8, walk), (Bytes{0xA1, 0x23, 0x4B}));
    read_from({0xA1, 0x23}, walk, false);
}

TEST(Syntax, TakesNoBytesFromAnExhaustedReader)
{
    std::vector<unsigned char> bytes{1};
    read_from({}, [&](SyntaxReader& io) { return io.bytes(0, "bytes", bytes); });
    EXPECT_TRUE(bytes.empty());
}

TEST(Syntax, LeavesAContainerAloneWhenItsBytesAreNotThere)
{
    std::vector<unsigned char> bytes{1};
    std::uint64_t length = 0;
    const auto walk = [&](SyntaxReader& io) { return io.text(64, "bytes", length, bytes); };
    EXPECT_EQ(read_from(Bytes(8, 0xFF) + Bytes{2, 3}, walk, false), 2U);
    EXPECT_EQ(bytes, (Bytes{1}));
}

TEST(Syntax, ReadsAndWritesATextWithItsLength)
{
    std::uint8_t length = 0;
    std::vector<unsigned char> name;
    const auto walk = [&](auto& io) { return io.text(8, "name", length, name); };
    EXPECT_EQ(read_from(Bytes{0x03} + "abcd", walk), 1U);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(text(name), "abc");
    length = 9;
    EXPECT_EQ(write_into(8, walk), (Bytes{0x09} + "abc"));
}

TEST(Syntax, CountsDownTheBodyAndStopsAtZero)
{
    std::uint16_t field = 0;
    read_from(Bytes(8, 0), [&](SyntaxReader& io) {
        io.open_body(3);
        EXPECT_EQ(io.body_left(), 3U);
        EXPECT_TRUE(io.bits(4, "field", field));
        EXPECT_EQ(io.body_left(), 2U);
        EXPECT_TRUE(io.bits(12, "field", field));
        EXPECT_EQ(io.body_left(), 1U);
        EXPECT_TRUE(io.bits(16, "field", field));
        EXPECT_EQ(io.body_left(), 0U);
        return true;
    });
}

TEST(Syntax, TakesTheRestOfTheBody)
{
    std::uint8_t first = 0;
    std::vector<unsigned char> rest;
    const auto walk = [&](auto& io) {
        io.open_body(3);
        return io.bits(8, "first", first) && io.rest("rest", rest);
    };
    EXPECT_EQ(read_from({1, 2, 3, 4}, walk), 1U);
    EXPECT_EQ(rest, (Bytes{2, 3}));
    EXPECT_EQ(write_into(8, walk), (Bytes{1, 2, 3}));
}

TEST(Syntax, ReadsAndWritesCodesTimesDataAndTextsAsTheNumbersAndBytesTheyAre)
{
    std::array<unsigned char, 3> code{};
    std::uint64_t time = 0;
    std::uint32_t duration = 0;
    std::uint8_t data_length = 0;
    std::vector<unsigned char> data, rest;
    const Bytes all = Bytes{'d', 'e', 'u', 0xC0, 0x79, 0x12, 0x45, 0x59, 0x01, 0x30, 0x15, 2, 8, 9, 'e', 'n', 'd'};
    const auto walk = [&](auto& io) {
        io.open_body(all.size());
        return io.code("code", code) && io.time("time", time) && io.duration("duration", duration) &&
               io.data(8, "data", data_length, data) && io.rest_text("rest", rest);
    };
    EXPECT_EQ(read_from(all, walk), 0U);
    EXPECT_EQ(text(code), "deu");
    EXPECT_EQ(time, 0xC079124559U);
    EXPECT_EQ(duration, 0x013015U);
    EXPECT_EQ(data_length, 2);
    EXPECT_EQ(data, (Bytes{8, 9}));
    EXPECT_EQ(text(rest), "end");
    EXPECT_EQ(write_into(64, walk), all);
}

TEST(Syntax, ReadsEntriesWhileAWholeOneRemains)
{
    std::vector<Pair> pairs(7);
    const auto walk = [&](auto& io) {
        io.open_body(5);
        return io.entries(2, "pairs", pairs);
    };
    EXPECT_EQ(read_from({0x10, 0x02, 0x30, 0x04, 0x50, 0x06}, walk), 2U);
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[1].left, 3);
    EXPECT_EQ(pairs[1].right, 4);
    EXPECT_EQ(write_into(8, walk), (Bytes{0x10, 0x02, 0x30, 0x04}));
}

TEST(Syntax, FailsWhenAnEntryRunsPastTheDataAndReservesNoMoreThanTheyHold)
{
    std::vector<Pair> pairs;
    const auto walk = [&](SyntaxReader& io) {
        io.open_body(std::size_t{1} << 31);
        return io.entries(2, "pairs", pairs);
    };
    read_from({1, 2, 3}, walk, false);
    EXPECT_LE(pairs.capacity(), 2U);
}

TEST(Syntax, ReadsCountedEntriesAndWritesThoseItHas)
{
    std::vector<std::shared_ptr<Pair>> pairs;
    const auto walk = [&](auto& io) { return io.counted(2, "pairs", pairs); };
    EXPECT_EQ(read_from({0x10, 0x02, 0x30, 0x04, 0x50}, walk), 1U);
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[1]->right, 4);
    pairs[0] = nullptr;
    EXPECT_EQ(write_into(8, walk), (Bytes{0x30, 0x04}));
    read_from({0x10, 0x02, 0x30}, walk, false);
}

TEST(Syntax, GivesAnInnerBodyItsOwnCount)
{
    std::uint8_t field = 0;
    std::vector<Pair> pairs;
    const auto walk = [&](auto& io) {
        io.open_body(6);
        const bool whole = io.bits(8, "field", field) && io.within(4, [&] { return io.entries(2, "pairs", pairs); });
        EXPECT_EQ(io.body_left(), 1U);
        return whole && io.bits(8, "field", field);
    };
    EXPECT_EQ(read_from({7, 0x10, 0x02, 0x30, 0x04, 9, 9}, walk), 1U);
    EXPECT_EQ(pairs.size(), 2U);
    EXPECT_EQ(write_into(8, walk), (Bytes{9, 0x10, 0x02, 0x30, 0x04, 9}));
}

TEST(Syntax, RefusesAnInnerBodyThatItsContentsDoNotFill)
{
    Pair pair;
    for (const std::size_t bytes : {1U, 2U, 3U})
        read_from(
            {0x12, 0x34, 0x56},
            [&](SyntaxReader& io) { return io.exactly(bytes, [&] { return io.entry("pair", pair); }); }, bytes == 2);
}

TEST(Syntax, WritesAnInnerBodyAsItIsWhateverItsLength)
{
    const Pair pair{1, 0x234};
    const auto walk = [&](SyntaxWriter& io) { return io.exactly(7, [&] { return io.entry("pair", pair); }); };
    EXPECT_EQ(write_into(8, walk), (Bytes{0x12, 0x34}));
}

TEST(Syntax, ReadsADescriptorLoopOfExactlyItsLength)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    std::uint8_t after = 0;
    const auto walk = [&](auto& io) {
        io.open_body(5);
        const bool whole = io.descriptors(4, "descriptors", list);
        EXPECT_EQ(io.body_left(), 1U);
        return whole && io.bits(8, "after", after);
    };
    EXPECT_EQ(read_from({0x52, 0x01, 0x2A, 0xFF, 0x77, 0x01}, walk), 1U);
    EXPECT_EQ(list.size(), 1U);
    EXPECT_EQ(after, 0x77);
}

TEST(Syntax, WritesADescriptorLoopAsItIs)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    list.append(std::make_shared<cue_identifier_descriptor>());
    list.find(0x8A)->descriptor_length = 1;
    EXPECT_EQ(write_into(8, [&](SyntaxWriter& io) { return io.descriptors(99, "descriptors", list); }),
              (Bytes{0x8A, 1, 0}));
}

TEST(Syntax, RefusesADescriptorLoopThatTheDataDoNotHoldOrThatDoesNotParse)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    read_from(
        {0x52, 0x01, 0x2A}, [&](SyntaxReader& io) { return io.descriptors(4, "descriptors", list); }, false);
    EXPECT_TRUE(list.empty());
    read_from(
        {0x52, 0x05, 0x2A, 0, 0, 0, 0}, [&](SyntaxReader& io) { return io.descriptors(3, "descriptors", list); },
        false);
}

TEST(Syntax, ReportsBytesThatHaveNoRoom)
{
    const std::vector<unsigned char> bytes{1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (std::size_t room = 0; room < bytes.size(); ++room)
        EXPECT_EQ(write_into(
                      room, [&](SyntaxWriter& io) { return io.bytes(0, "bytes", bytes); }, false),
                  Bytes(bytes.begin(), bytes.begin() + room));
    EXPECT_EQ(write_into(9, [&](SyntaxWriter& io) { return io.bytes(0, "bytes", bytes); }), bytes);
}
} // namespace Syntax_test
