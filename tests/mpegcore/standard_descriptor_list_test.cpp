// SPDX-License-Identifier: LGPL-2.1-or-later
// Lists that read by the standards: each descriptor takes its descriptor_length, and nothing is lost.
#include "mpegcore/parser/BlockPool.h"
#include "mpegcore/zqdescriptorlist.h"
#include "support/descriptor_loops.h"
#include "support/rounds.h"
#include "support/sanitizers.h"

#include <gmock/gmock.h>
#include <malloc.h>

#include <random>
#include <thread>

namespace standard_descriptor_list_test
{
using namespace mpegcore;
using namespace zqtest;
using ::testing::ElementsAre;

constexpr ZQDescriptorType all_standard[] = {ZQDescriptorType::Standard, ZQDescriptorType::StandardSCTE35,
                                             ZQDescriptorType::StandardAIT};

const Bytes identifier{0x52, 0x01, 0x2A};

bool read_into(ZQDescriptorList& list, const Bytes& bytes)
{
    ExactBlock block(bytes);
    auto reader = block.reader();
    return list.read(reader);
}

/// Reads `bytes` whole, expects them back from a list and from its copy, and returns the classes.
std::vector<std::type_index> classes(const Bytes& bytes, ZQDescriptorType type = ZQDescriptorType::Standard)
{
    ZQDescriptorList list(type), copy(type);
    EXPECT_TRUE(read_into(list, bytes));
    EXPECT_EQ(written(list), bytes);
    EXPECT_EQ(list.getSize(), bytes.size());
    list.copyTo(copy);
    EXPECT_EQ(written(copy), bytes);
    std::vector<std::type_index> result;
    for (const auto& descriptor : list)
        result.push_back(type_of(*descriptor));
    return result;
}

template <class T>
std::type_index is()
{
    return typeid(T);
}

TEST(StandardDescriptorList, KeepsEmptyDescriptorsAlsoAtTheEnd)
{
    EXPECT_THAT(classes(identifier + Bytes{0x6F, 0x00}),
                ElementsAre(is<stream_identifier_descriptor>(), is<application_signalling_descriptor>()));
    EXPECT_THAT(classes({0x99, 0x00, 0x7F, 0x00}), ElementsAre(is<base_descriptor>(), is<base_descriptor>()));
}

TEST(StandardDescriptorList, KeepsBytesBehindTheSyntax)
{
    EXPECT_THAT(classes(Bytes{0x52, 0x03, 0x2A, 0xE1, 0xE2} + identifier),
                ElementsAre(is<stream_identifier_descriptor>(), is<stream_identifier_descriptor>()));
    EXPECT_THAT(classes({0x41, 0x05, 0x00, 0x01, 0x01, 0x12, 0x34}), ElementsAre(is<service_list_descriptor>()));
}

TEST(StandardDescriptorList, HandsOutBytesBehindTheSyntaxAsPayload)
{
    ZQDescriptorList list(ZQDescriptorType::Standard);
    ASSERT_TRUE(read_into(list, {0x52, 0x03, 0x2A, 0xE1, 0xE2}));
    const auto d = list.find<stream_identifier_descriptor>();
    EXPECT_EQ(d->component_tag, 0x2A);
    EXPECT_EQ(Bytes(d->payload.data(), d->payload.data() + d->payload.size()), (Bytes{0xE1, 0xE2}));
    ExactBlock block(identifier);
    auto reader = block.reader();
    ASSERT_TRUE(d->read(reader));
    EXPECT_EQ(written(*d), identifier);
}

TEST(StandardDescriptorList, SharesNoPayloadWithItsCopy)
{
    const Bytes bytes{0x52, 0x03, 0x2A, 0xE1, 0xE2};
    ZQDescriptorList list(ZQDescriptorType::Standard), copy(ZQDescriptorType::Standard);
    ASSERT_TRUE(read_into(list, bytes));
    list.copyTo(copy);
    copy.find(0x52)->payload.data()[0] = 0;
    EXPECT_EQ(written(list), bytes);
    list.find(0x52)->copyTo(copy.find(0x52).get());
    EXPECT_EQ(written(copy), bytes);
}

TEST(StandardDescriptorList, KeepsABodyRawThatDoesNotHoldTheSyntax)
{
    for (const Bytes& short_one :
         {Bytes{0x52, 0x00}, Bytes{0x48, 0x03, 0x01, 0x07, 'a'}, Bytes{0x43, 0x05, 1, 2, 3, 4, 5},
          Bytes{0x7F, 0x03, 0x04, 0x01, 0x02}, Bytes{0x7F, 0x05, 0x04, 0x01, 0x02, 0x03, 0x04}})
        EXPECT_THAT(classes(short_one + identifier),
                    ElementsAre(is<base_descriptor>(), is<stream_identifier_descriptor>()));
}

TEST(StandardDescriptorList, KeepsABodyRawWhoseInnerLengthDoesNotFit)
{
    // A cell whose subcells end before, and behind, subcell_info_loop_length.
    for (const unsigned char length : {4, 6, 0xFF})
        EXPECT_THAT(classes(Bytes{0x7F, 0x12, 0x04, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, length} + Bytes(5, 7)),
                    ElementsAre(is<base_descriptor>()));
}

TEST(StandardDescriptorList, KeepsAConditionalAccessDescriptorRawThatItsClassWouldShorten)
{
    EXPECT_THAT(classes(Bytes{0x09, 198, 6, 4, 0xE1, 0} + Bytes(194, 7)), ElementsAre(is<CA_descriptor>()));
    EXPECT_THAT(classes(Bytes{0x09, 199, 6, 4, 0xE1, 0} + Bytes(195, 7)), ElementsAre(is<base_descriptor>()));
}

TEST(StandardDescriptorList, ReadsOnBehindAT2DeliverySystemWithCells)
{
    EXPECT_THAT(classes(Bytes{0x7F, 0x0D, 0x04, 1, 0, 1, 0, 2} + Bytes{0x00, 0x63, 4, 0, 0, 0, 0} + identifier),
                ElementsAre(is<standard_T2_delivery_system_descriptor>(), is<stream_identifier_descriptor>()));
}

TEST(StandardDescriptorList, KeepsAnExtensionWithoutAClassOfItsOwn)
{
    EXPECT_THAT(classes({0x7F, 0x03, 0x20, 0x01, 0x02}), ElementsAre(is<extension_descriptor>()));
}

TEST(StandardDescriptorList, KeepsTagsThatTheStandardReservesRaw)
{
    EXPECT_THAT(classes(Bytes{0x00, 0x08} + "CUEI" + Bytes{0, 0, 0, 5}), ElementsAre(is<base_descriptor>()));
}

TEST(StandardDescriptorList, TakesAPrivateTagByTheSpecifierBeforeIt)
{
    const Bytes channels{0x83, 0x04, 0x12, 0x34, 0xFC, 0x05};
    const auto last = [&](const Bytes& specifier) { return classes(specifier + channels).back(); };
    for (const Bytes& known :
         {Bytes{0, 0, 0, 0x28}, Bytes{0, 0, 0x23, 0x3A}, Bytes{0, 0, 0x32, 0x00}, Bytes{0, 0, 0x32, 0x0F}})
        EXPECT_EQ(last(Bytes{0x5F, 0x04} + known), is<logical_channel_descriptor>());
    for (const Bytes& other : {Bytes{0, 0, 0, 0x29}, Bytes{0, 0, 0x31, 0xFF}, Bytes{0, 0, 0x32, 0x10}})
        EXPECT_EQ(last(Bytes{0x5F, 0x04} + other), is<base_descriptor>());
    EXPECT_EQ(last({}), is<base_descriptor>());
    EXPECT_EQ(last({0x5F, 0x04, 0, 0, 0, 0x28, 0x5F, 0x04, 0, 0, 0, 0x05}), is<base_descriptor>());
    EXPECT_EQ(last({0x5F, 0x04, 0, 0, 0, 0x28, 0x5F, 0x02, 0, 0}), is<logical_channel_descriptor>());
}

TEST(StandardDescriptorList, ForgetsTheSpecifierAtTheEndOfTheLoop)
{
    ZQDescriptorList list(ZQDescriptorType::Standard);
    ASSERT_TRUE(read_into(list, {0x5F, 0x04, 0, 0, 0, 0x28}));
    ASSERT_TRUE(read_into(list, {0x83, 0x04, 0x12, 0x34, 0xFC, 0x05}));
    EXPECT_EQ(list.find<logical_channel_descriptor>(), nullptr);
}

TEST(StandardDescriptorList, TakesTheCueIdentifierWhereNobodyElseOwnsTheTag)
{
    const Bytes cue{0x8A, 0x01, 0x01};
    EXPECT_THAT(classes(cue), ElementsAre(is<cue_identifier_descriptor>()));
    EXPECT_THAT(classes(Bytes{0x5F, 0x04, 0, 0, 0, 0x28} + cue),
                ElementsAre(is<private_data_specifier_descriptor>(), is<base_descriptor>()));
}

TEST(StandardDescriptorList, KnowsSpliceDescriptorsByTagAndIdentifier)
{
    const auto type = ZQDescriptorType::StandardSCTE35;
    EXPECT_THAT(classes(Bytes{0x00, 0x08} + "CUEI" + Bytes{0, 0, 0, 5}, type), ElementsAre(is<avail_descriptor>()));
    EXPECT_THAT(classes(Bytes{0x00, 0x08} + "ABCD" + Bytes{0, 0, 0, 5}, type), ElementsAre(is<base_descriptor>()));
    EXPECT_THAT(classes(Bytes{0x00, 0x00, 0x00, 0x03} + "CUE", type),
                ElementsAre(is<base_descriptor>(), is<base_descriptor>()));
    EXPECT_THAT(classes(Bytes{0x02, 0x09} + "CUEI" + Bytes{0, 0, 0, 1, 0xFF}, type),
                ElementsAre(is<scte35_segmentation_descriptor>()));
}

TEST(StandardDescriptorList, ChoosesApplicationDescriptorsByTagsOfTheirOwn)
{
    EXPECT_THAT(classes(Bytes{0x02, 0x03, 0x00, 0x03, 0x01} + Bytes{0x0C, 0x01, 0x05}, ZQDescriptorType::StandardAIT),
                ElementsAre(is<transport_protocol_descriptor>(), is<base_descriptor>()));
}

TEST(StandardDescriptorList, KeepsWhatItReadBeforeALengthThatRunsPastTheLoop)
{
    for (const auto type : all_standard) {
        ZQDescriptorList list(type);
        EXPECT_FALSE(read_into(list, identifier + Bytes{0x99, 0x02, 0x01}));
        EXPECT_EQ(written(list), identifier);
    }
}

TEST(StandardDescriptorList, LeavesALastByteAloneUnread)
{
    for (const auto type : all_standard) {
        ZQDescriptorList list(type);
        ExactBlock block(identifier + Bytes{0x52});
        auto reader = block.reader();
        EXPECT_TRUE(list.read(reader));
        EXPECT_EQ(reader.availableBytes(), 1U);
        EXPECT_EQ(written(list), identifier);
    }
}

TEST(StandardDescriptorList, ReadsByTheStandardIntoAListOfAnotherDictionary)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    ExactBlock block(Bytes{0x50, 0x06, 0xF1, 0x01, 0x10, 'e', 'n', 'g', 0x6F, 0x00});
    auto reader = block.reader();
    EXPECT_TRUE(list.readStandard(reader));
    EXPECT_EQ(list.size(), 2U);
    EXPECT_NE(list.find<component_descriptor>(), nullptr);
    EXPECT_EQ(list.type(), ZQDescriptorType::TS);
}

TEST(StandardDescriptorList, KeepsTheOrderOfWhatIsAddedBehindLoopsThatNobodyLookedAt)
{
    ZQDescriptorList list(ZQDescriptorType::Standard);
    ASSERT_TRUE(read_into(list, identifier));
    ASSERT_TRUE(read_into(list, {0x52, 0x01, 0x2B}));
    auto last = std::make_shared<stream_identifier_descriptor>();
    last->descriptor_length = 1;
    last->component_tag = 0x2C;
    list.append(last);
    EXPECT_EQ(written(list), (Bytes{0x52, 0x01, 0x2A, 0x52, 0x01, 0x2B, 0x52, 0x01, 0x2C}));

    ZQDescriptorList short_one(ZQDescriptorType::Standard);
    ASSERT_TRUE(read_into(short_one, identifier));
    short_one.append(last);
    EXPECT_EQ(written(short_one), (Bytes{0x52, 0x01, 0x2A, 0x52, 0x01, 0x2C}));
}

TEST(StandardDescriptorList, LosesNothingThatNobodyLookedAtWhenADescriptorBehindIsKeptRaw)
{
    ZQDescriptorList list(ZQDescriptorType::Standard);
    ASSERT_TRUE(read_into(list, identifier + identifier));
    const Bytes too_long = Bytes{0x09, 199, 6, 4, 0xE1, 0} + Bytes(195, 7);
    ASSERT_TRUE(read_into(list, too_long));
    EXPECT_EQ(written(list), identifier + identifier + too_long);
}

TEST(StandardDescriptorList, IsEmptyOnceItIsClearedThoughNobodyLookedAtIt)
{
    ZQDescriptorList list(ZQDescriptorType::Standard);
    ASSERT_TRUE(read_into(list, identifier));
    EXPECT_FALSE(list.empty());
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.begin(), list.end());
}

TEST(StandardDescriptorList, NeedsTheBytesNoMoreThatItWasReadFrom)
{
    ZQDescriptorList list(ZQDescriptorType::Standard);
    Bytes bytes = identifier;
    ZQSDK::ZQBSReaderT<unsigned char*> reader(bytes.data(), bytes.size());
    ASSERT_TRUE(list.read(reader));
    bytes.assign(bytes.size(), 0xFF);
    EXPECT_EQ(written(list), identifier);
}

TEST(StandardDescriptorList, ReadsByTheStandardWithNoOtherDictionary)
{
    for (const int type : {0, 1, 2, 0xFF, 0x103}) {
        ZQDescriptorList list(ZQDescriptorType::TS);
        ExactBlock block(identifier);
        auto reader = block.reader();
        EXPECT_FALSE(list.readStandard(reader, static_cast<ZQDescriptorType>(type)));
        EXPECT_EQ(reader.availableBytes(), 3U);
    }
}

TEST(StandardDescriptorList, WritesBackEveryLoopOfRandomDescriptors)
{
    std::mt19937 random(11);
    for (const auto type : all_standard)
        for (unsigned round = 0; round < zqtest::rounds(20000); ++round) {
            Bytes bytes;
            for (unsigned left = random() % 6; left != 0; --left) {
                const unsigned char body = static_cast<unsigned char>(random() % 40);
                const unsigned limit = random() % 2 == 0 ? 256 : 8;
                bytes = bytes + Bytes{static_cast<unsigned char>(random()), body};
                for (unsigned char at = 0; at < body; ++at)
                    bytes.push_back(static_cast<unsigned char>(random() % limit));
            }
            ZQDescriptorList list(type);
            ASSERT_TRUE(read_into(list, bytes));
            ASSERT_EQ(written(list), bytes);
        }
}

TEST(StandardDescriptorList, SurvivesRandomContentInExactBlocks)
{
    constexpr unsigned count = ZQ_FOREIGN ? 2000 : 20000; // AddressSanitizer is who sees the end of a block
    std::mt19937 random(12);
    for (const auto type : all_standard)
        for (unsigned round = 0; round < count; ++round) {
            Bytes bytes(random() % 120);
            for (unsigned char& byte : bytes)
                byte = static_cast<unsigned char>(random() % (round % 2 == 0 ? 256 : 12));
            ZQDescriptorList list(type);
            const bool whole = read_into(list, bytes);
            const Bytes back = written(list);
            ASSERT_EQ(back, Bytes(bytes.begin(), bytes.begin() + back.size()));
            ASSERT_TRUE(!whole || bytes.size() - back.size() <= 1);
        }
}

/// Many descriptors of this tag; their bodies begin with `first`.
Bytes loop_of_one_kind(unsigned tag, unsigned char length, unsigned char first, unsigned char rest)
{
    Bytes bytes;
    while (bytes.size() + 2 + length <= 600) {
        bytes = bytes + Bytes{static_cast<unsigned char>(tag), length, first} + Bytes(length - 1U, rest);
    }
    return bytes;
}

/// What a list and its descriptors take, and what was counted for that before anybody looked at them.
void expect_foreseen(const Bytes& bytes)
{
    constexpr std::size_t counted_per_byte = 8; // by those who keep tables
    Bytes own = bytes;
    const std::size_t before = mallinfo2().uordblks, blocks_before = block_bytes();
    ZQDescriptorList list(ZQDescriptorType::Standard);
    ZQSDK::ZQBSReaderT<unsigned char*> reader(own.data(), own.size());
    ASSERT_TRUE(list.read(reader));
    const std::size_t counted = block_bytes() - blocks_before + counted_per_byte * bytes.size();
    EXPECT_FALSE(list.find(0xFF));
    EXPECT_LE(mallinfo2().uordblks - before, counted)
        << "tag " << unsigned{bytes[0]} << ", length " << unsigned{bytes[1]} << ", " << unsigned{bytes[2]} << ' '
        << unsigned{bytes[3]};
}

// A thread has a pool of its own, in which nothing lies that would not be counted.
TEST(StandardDescriptorList, TakesNoMoreMemoryThanWasForeseenWhenItIsLookedAt)
{
    if (zqtest::address_sanitizer)
        GTEST_SKIP() << "mallinfo2 tells nothing";
    if (ZQ_EMULATED)
        GTEST_SKIP() << "is the same there, and takes long";
    for (unsigned tag = 0; tag < 0xFF; ++tag)
        for (unsigned first = 0; first < 256; first += tag == 0x7F ? 1 : 85)
            for (const unsigned char length : {5, 255})
                for (const unsigned char rest : {0x00, 0xFF})
                    std::thread([&] {
                        expect_foreseen(loop_of_one_kind(tag, length, static_cast<unsigned char>(first), rest));
                    }).join();
}
} // namespace standard_descriptor_list_test
