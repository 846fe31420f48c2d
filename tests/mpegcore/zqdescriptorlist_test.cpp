// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/zqdescriptorlist.h"
#include "support/descriptor_loops.h"

#include <gmock/gmock.h>

#include <random>
#include <type_traits>

namespace zqdescriptorlist_test
{
using namespace mpegcore;
using namespace zqtest;

static_assert(std::has_virtual_destructor_v<ZQDescriptorList>);
static_assert(!std::is_copy_constructible_v<ZQDescriptorList>);
static_assert(static_cast<int>(ZQDescriptorType::TS) == 0 && static_cast<int>(ZQDescriptorType::SCTE35) == 1);

bool read_into(ZQDescriptorList& list, const Bytes& bytes)
{
    ExactBlock block(bytes);
    auto reader = block.reader();
    return list.read(reader);
}

std::vector<int> tags(const ZQDescriptorList& list)
{
    std::vector<int> result;
    for (const auto& descriptor : list)
        result.push_back(descriptor->descriptor_tag);
    return result;
}

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Bytes identifier{0x52, 0x01, 0x2A};
const Bytes unknown{0x99, 0x03, 0x01, 0x02, 0x03};

TEST(DescriptorList, ReadsAnEmptyLoop)
{
    for (const auto type : {ZQDescriptorType::TS, ZQDescriptorType::SCTE35}) {
        ZQDescriptorList list(type);
        Reader reader(nullptr, 0);
        EXPECT_TRUE(list.read(reader));
        EXPECT_EQ(list.size(), 0U);
        EXPECT_TRUE(list.empty());
        EXPECT_EQ(list.getSize(), 0U);
        EXPECT_THAT(written(list), IsEmpty());
    }
}

TEST(DescriptorList, SkipsAnEmptyDescriptorAtTheVeryEnd)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    EXPECT_TRUE(read_into(list, {0x99, 0x00}));
    EXPECT_TRUE(list.empty());
}

TEST(DescriptorList, KeepsAnEmptyDescriptorBeforeAnother)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    EXPECT_TRUE(read_into(list, Bytes{0x99, 0x00} + identifier));
    EXPECT_THAT(tags(list), ElementsAre(0x99, 0x52));
    EXPECT_EQ(written(list), (Bytes{0x99, 0x00} + identifier));
}

TEST(DescriptorList, IgnoresOneOrTwoStrayBytesAtTheEnd)
{
    for (const Bytes& stray : {Bytes{0x52}, Bytes{0x52, 0x01}}) {
        ZQDescriptorList list(ZQDescriptorType::TS);
        EXPECT_TRUE(read_into(list, identifier + unknown + stray));
        EXPECT_THAT(tags(list), ElementsAre(0x52, 0x99));
    }
}

TEST(DescriptorList, KeepsAnUnknownTagAsRawBytes)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    ASSERT_TRUE(read_into(list, unknown));
    const auto d = list.find(0x99);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(type_of(*d), typeid(base_descriptor));
    EXPECT_EQ(d->payload.size(), 3U);
    EXPECT_EQ(d->payload.alignment(), 8U);
    EXPECT_EQ(list.getSize(), 5U);
    EXPECT_EQ(written(list), unknown);
}

TEST(DescriptorList, KeepsAnUnknownTagOfTheLargestLength)
{
    Bytes bytes{0xFE, 0xFF};
    for (int at = 0; at < 255; ++at)
        bytes.push_back(static_cast<unsigned char>(at));
    ZQDescriptorList list(ZQDescriptorType::TS);
    ASSERT_TRUE(read_into(list, bytes));
    EXPECT_EQ(written(list), bytes);
}

TEST(DescriptorList, ChoosesTheExtensionClassByTheExtension)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    ASSERT_TRUE(read_into(list, {0x7F, 0x06, 0x04, 1, 2, 3, 4, 5, 0x7F, 0x03, 0x05, 8, 9}));
    ASSERT_EQ(list.size(), 2U);
    EXPECT_NE(list.find<T2_delivery_system_descriptor>(), nullptr);
    ASSERT_NE(list.find<extension_descriptor>(), nullptr);
    EXPECT_EQ(list.find<extension_descriptor>()->selector_byte, (Bytes{8, 9}));
}

TEST(DescriptorList, ReadsBothTeletextTagsWithOneClassKeepingEach)
{
    const Bytes body = Bytes{0x05} + "deu" + Bytes{0x09, 0x00};
    EXPECT_EQ(golden_ts<teletext_descriptor>(Bytes{0x46} + body)->descriptor_tag, 0x46);
    EXPECT_EQ(golden_ts<teletext_descriptor>(Bytes{0x56} + body)->descriptor_tag, 0x56);
}

TEST(DescriptorList, TakesTagZeroForAnAvailDescriptorInTransportStreamLoops)
{
    const auto d = golden_ts<avail_descriptor>(Bytes{0x00, 0x08} + "CUEI" + Bytes{0, 0, 0, 5});
    EXPECT_EQ(d->provider_avail_id, 5U);
}

TEST(DescriptorList, ChoosesTagTwoByItsDictionary)
{
    ZQDescriptorList list(ZQDescriptorType::SCTE35);
    ASSERT_TRUE(read_into(list, Bytes{0x02, 0x09} + "CUEI" + Bytes{0, 0, 0, 1, 0xFF}));
    EXPECT_NE(list.find<scte35_segmentation_descriptor>(), nullptr);
    EXPECT_EQ(list.find<video_stream_descriptor>(), nullptr);
}

/// The tags below 256 whose descriptor `type` does not keep raw.
std::vector<int> known_tags(ZQDescriptorType type)
{
    std::vector<int> known;
    for (int tag = 0; tag < 256; ++tag) {
        ZQDescriptorList list(type);
        // The body of zeros is long enough for each class; what follows one that stops early does not matter.
        static_cast<void>(read_into(list, Bytes{static_cast<unsigned char>(tag), 40} + Bytes(40, 0)));
        if (list.empty())
            ADD_FAILURE() << tag;
        else if (type_of(**list.begin()) != typeid(base_descriptor))
            known.push_back(tag);
    }
    return known;
}

TEST(DescriptorList, KeepsEveryOtherTagRaw)
{
    EXPECT_THAT(known_tags(ZQDescriptorType::TS),
                ElementsAre(0x00, 0x02, 0x03, 0x09, 0x0A, 0x0C, 0x10, 0x11, 0x40, 0x41, 0x45, 0x46, 0x47, 0x48, 0x4D,
                            0x4E, 0x52, 0x55, 0x56, 0x58, 0x59, 0x6A, 0x7F, 0x83, 0x8A));
    EXPECT_THAT(known_tags(ZQDescriptorType::SCTE35), ElementsAre(0x00, 0x01, 0x02));
}

TEST(DescriptorList, KeepsAServiceTagRawInSpliceLoops)
{
    golden_scte35<base_descriptor>({0x48, 0x03, 0x01, 0x00, 0x00});
}

TEST(DescriptorList, ReadsWithTheDictionaryThatIsAskedFor)
{
    ZQDescriptorList list(ZQDescriptorType::SCTE35);
    ExactBlock block(Bytes{0x48, 0x03, 0x01, 0x00, 0x00});
    auto reader = block.reader();
    EXPECT_TRUE(list.readTS(reader));
    auto again = block.reader();
    EXPECT_TRUE(list.readSCTE35(again));
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(type_of(**list.begin()), typeid(service_descriptor));
    EXPECT_EQ(type_of(**(list.begin() + 1)), typeid(base_descriptor));
    EXPECT_EQ(list.type(), ZQDescriptorType::SCTE35);
}

TEST(DescriptorList, RefusesAnUnknownDictionaryWithoutReading)
{
    ZQDescriptorList list(static_cast<ZQDescriptorType>(2));
    ExactBlock block(identifier);
    auto reader = block.reader();
    EXPECT_FALSE(list.read(reader));
    EXPECT_EQ(reader.availableBytes(), 3U);
    EXPECT_TRUE(list.empty());
}

TEST(DescriptorList, KeepsWhatItReadBeforeALengthThatRunsPastTheLoop)
{
    for (const Bytes& broken : {Bytes{0x99, 0x02, 0x01}, Bytes{0x48, 0x02, 0x01}, Bytes{0x7F, 0x09, 0x04}}) {
        ZQDescriptorList list(ZQDescriptorType::TS);
        EXPECT_FALSE(read_into(list, identifier + unknown + broken));
        EXPECT_THAT(tags(list), ElementsAre(0x52, 0x99));
    }
}

TEST(DescriptorList, FailsWithAKnownClassWhoseBodyDoesNotParse)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    EXPECT_FALSE(read_into(list, identifier + Bytes{0x48, 0x03, 0x01, 0x07, 'a'}));
    EXPECT_THAT(tags(list), ElementsAre(0x52));
}

TEST(DescriptorList, DoesNotAlignBehindAClassThatStopsEarly)
{
    // The service descriptor announces 6 bytes and its names end after 4: what follows is read as a descriptor.
    ZQDescriptorList list(ZQDescriptorType::TS);
    EXPECT_TRUE(read_into(list, Bytes{0x48, 0x07, 0x01, 0x00, 0x01, 'A'} + identifier));
    EXPECT_THAT(tags(list), ElementsAre(0x48, 0x52));
}

TEST(DescriptorList, EndsAtAT2DeliverySystemWithCells)
{
    // Deliberate: the cells behind the fixed fields are taken for the next descriptor.
    ZQDescriptorList list(ZQDescriptorType::TS);
    EXPECT_FALSE(
        read_into(list, Bytes{0x7F, 0x0D, 0x04, 1, 0, 1, 0, 2} + Bytes{0x00, 0x63, 4, 0, 0, 0, 0} + identifier));
    EXPECT_THAT(tags(list), ElementsAre(0x7F));
}

TEST(DescriptorList, AppendsWithEveryRead)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    EXPECT_TRUE(read_into(list, identifier));
    EXPECT_TRUE(read_into(list, unknown));
    EXPECT_THAT(tags(list), ElementsAre(0x52, 0x99));
}

TEST(DescriptorList, AddsOneDescriptorOfTheClassAskedFor)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    ExactBlock block(Bytes{0x99, 0x01, 0x07} + identifier);
    auto reader = block.reader();
    EXPECT_TRUE(list.add<stream_identifier_descriptor>(reader));
    EXPECT_EQ(list.find<stream_identifier_descriptor>()->component_tag, 7);
    EXPECT_EQ(reader.availableBytes(), 3U);
}

TEST(DescriptorList, AddsNothingWhenTheDescriptorDoesNotParse)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    ExactBlock block(Bytes{0x52, 0x02, 0x07});
    auto reader = block.reader();
    EXPECT_FALSE(list.add<stream_identifier_descriptor>(reader));
    EXPECT_TRUE(list.empty());
}

TEST(DescriptorList, FindsTheFirstOfTwoDescriptorsOfOneTag)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    ASSERT_TRUE(read_into(list, identifier + Bytes{0x52, 0x01, 0x2B}));
    EXPECT_EQ(list.find(0x52), *list.begin());
    EXPECT_EQ(list.find<stream_identifier_descriptor>()->component_tag, 0x2A);
    EXPECT_EQ(list.find(0x48), nullptr);
    EXPECT_EQ(list.find<service_descriptor>(), nullptr);
}

TEST(DescriptorList, AppendsAndSharesButNoEmptyPointer)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    const auto d = std::make_shared<STD_descriptor>();
    list.append(d);
    list.append(nullptr);
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list.find(0x11), d);
}

TEST(DescriptorList, LetsAFoundDescriptorOutliveTheList)
{
    std::shared_ptr<base_descriptor> found;
    {
        ZQDescriptorList list(ZQDescriptorType::TS);
        ASSERT_TRUE(read_into(list, unknown));
        found = list.find(0x99);
    }
    EXPECT_EQ(found.use_count(), 1);
    EXPECT_EQ(written(*found), unknown);
}

TEST(DescriptorList, ClearReleasesItsReferences)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    ASSERT_TRUE(read_into(list, unknown));
    const auto found = list.find(0x99);
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.getSize(), 0U);
    EXPECT_EQ(found.use_count(), 1);
}

TEST(DescriptorList, CopiesBehindWhatTheTargetHolds)
{
    ZQDescriptorList source(ZQDescriptorType::TS);
    ASSERT_TRUE(read_into(source, identifier + unknown));
    ZQDescriptorList target(ZQDescriptorType::SCTE35);
    ASSERT_TRUE(read_into(target, {0x48, 0x01, 0x77}));
    source.copyTo(target);
    EXPECT_THAT(tags(target), ElementsAre(0x48, 0x52, 0x99));
    EXPECT_EQ(written(target), (Bytes{0x48, 0x01, 0x77} + identifier + unknown));
    EXPECT_EQ(target.type(), ZQDescriptorType::SCTE35);
}

TEST(DescriptorList, SharesNothingWithItsCopy)
{
    ZQDescriptorList source(ZQDescriptorType::TS), target(ZQDescriptorType::TS);
    ASSERT_TRUE(read_into(source, identifier + unknown));
    source.copyTo(target);
    target.find<stream_identifier_descriptor>()->component_tag = 0;
    target.find(0x99)->payload.data()[0] = 0xFF;
    EXPECT_EQ(written(source), identifier + unknown);
}

TEST(DescriptorList, CopyingOntoItselfChangesNothing)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    ASSERT_TRUE(read_into(list, identifier + unknown));
    list.copyTo(list);
    EXPECT_EQ(written(list), identifier + unknown);
}

TEST(DescriptorList, MeasuresByStoredLengths)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    const auto d = std::make_shared<bouquet_name_descriptor>();
    d->descriptor_length = 3;
    d->bouquet_name = {'a', 'b', 'c'};
    list.append(d);
    EXPECT_EQ(list.getSize(), 5U);
    d->bouquet_name = {'a', 'b', 'c', 'd', 'e'};
    EXPECT_EQ(list.getSize(), 5U);
}

TEST(DescriptorList, DropsWhatHasNoRoomInTheWriter)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    const Bytes bytes = identifier + unknown + identifier;
    ASSERT_TRUE(read_into(list, bytes));
    for (std::size_t room = 0; room <= bytes.size(); ++room) {
        ExactBlock block(room);
        {
            Writer writer(block.data(), room);
            list.write(writer);
        }
        EXPECT_EQ(block.bytes(room), Bytes(bytes.begin(), bytes.begin() + room));
    }
}

TEST(DescriptorList, SurvivesRandomContentInExactBlocks)
{
    std::mt19937 random(7);
    for (const auto type : {ZQDescriptorType::TS, ZQDescriptorType::SCTE35})
        for (int round = 0; round < 20000; ++round) {
            Bytes bytes(random() % 120);
            for (unsigned char& byte : bytes)
                byte = static_cast<unsigned char>(random() % (round % 2 == 0 ? 256 : 12));
            ZQDescriptorList list(type);
            static_cast<void>(read_into(list, bytes));
            ASSERT_LE(list.size(), bytes.size() / 2);
            const Bytes back = written(list);
            ASSERT_EQ(back, Bytes(bytes.begin(), bytes.begin() + back.size()));
        }
}
} // namespace zqdescriptorlist_test
