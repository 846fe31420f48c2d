// SPDX-License-Identifier: LGPL-2.1-or-later
// What holds for every descriptor class.
#include "support/descriptor_loops.h"
#include "support/descriptor_registry.h"
#include "support/syntax_walks.h"

#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <typeindex>

namespace
{
using namespace mpegcore;
using namespace zqtest;

template <class T>
class EveryDescriptor : public ::testing::Test
{
protected:
    static T filled()
    {
        T d;
        fill(d);
        return d;
    }
};
TYPED_TEST_SUITE(EveryDescriptor, all_descriptors);

TYPED_TEST(EveryDescriptor, StartsWithItsTagAndAllFieldsZero)
{
    const auto fresh = std::make_shared<TypeParam>();
    EXPECT_EQ(fresh->descriptor_tag, TypeParam::tag);
    EXPECT_EQ(fresh->payload.data(), nullptr);
    fresh->descriptor_tag = 0;
    for (const std::uint64_t value : fields(*fresh))
        EXPECT_EQ(value, 0U);
}

TYPED_TEST(EveryDescriptor, ReadsBackWhatItWrote)
{
    const TypeParam original = this->filled();
    const Bytes bytes = written(original);
    EXPECT_EQ(bytes.size(), 2U + original.descriptor_length);

    ExactBlock block(bytes);
    auto reader = block.reader();
    TypeParam back;
    ASSERT_TRUE(back.read(reader));
    EXPECT_EQ(fields(back), fields(original));
    EXPECT_EQ(reader.availableBytes(), 0U);
    EXPECT_EQ(back.payload.data(), nullptr);
}

TYPED_TEST(EveryDescriptor, ForgetsWhatItHeldWhenItReadsAgain)
{
    const TypeParam original = this->filled();
    ExactBlock block(written(original));
    auto reader = block.reader();
    TypeParam twice = this->filled();
    change(twice);
    ASSERT_TRUE(twice.read(reader));
    EXPECT_EQ(written(twice), written(original));
}

TYPED_TEST(EveryDescriptor, TakesTheTagOfTheStream)
{
    Bytes bytes = written(this->filled());
    bytes[0] = 0xC5;
    ExactBlock block(bytes);
    auto reader = block.reader();
    TypeParam d;
    ASSERT_TRUE(d.read(reader));
    EXPECT_EQ(d.descriptor_tag, 0xC5);
    EXPECT_EQ(written(d), bytes);
}

TYPED_TEST(EveryDescriptor, CreatesAFreshObjectOfItsOwnClass)
{
    const TypeParam original = this->filled();
    const std::shared_ptr<base_descriptor> created = static_cast<const base_descriptor&>(original).create();
    ASSERT_EQ(typeid(*created), typeid(TypeParam));
    EXPECT_EQ(fields(static_cast<const TypeParam&>(*created)), fields(TypeParam()));
}

TYPED_TEST(EveryDescriptor, SharesNothingWithItsCopy)
{
    const TypeParam original = this->filled();
    const auto before = fields(original);
    const auto created = original.create();
    original.copyTo(created.get());
    auto& copy = static_cast<TypeParam&>(*created);
    EXPECT_EQ(fields(copy), before);
    change(copy);
    EXPECT_NE(fields(copy), before);
    EXPECT_EQ(fields(original), before);
}

TYPED_TEST(EveryDescriptor, SharesNothingWithACopyMadeByTheLanguage)
{
    const TypeParam original = this->filled();
    const auto before = fields(original);
    TypeParam copy(original);
    EXPECT_EQ(fields(copy), before);
    change(copy);
    EXPECT_EQ(fields(original), before);
}

TYPED_TEST(EveryDescriptor, CopiesToNowhereToItselfAndToAStrangerWithoutHarm)
{
    TypeParam d = this->filled();
    const auto before = fields(d);
    d.copyTo(nullptr);
    d.copyTo(&d);
    base_descriptor stranger;
    d.copyTo(&stranger);
    EXPECT_EQ(fields(d), before);
    EXPECT_EQ(stranger.descriptor_tag, 0);
    EXPECT_EQ(stranger.descriptor_length, 0);
}

TYPED_TEST(EveryDescriptor, RefusesABodyThatTheDataDoNotHold)
{
    const Bytes bytes = written(this->filled());
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        ExactBlock block(Bytes(bytes.begin(), bytes.begin() + size));
        auto reader = block.reader();
        EXPECT_FALSE(TypeParam().read(reader)) << size;
    }
}

TYPED_TEST(EveryDescriptor, EndsWithinTheDataWhenItsLengthIsCutAlong)
{
    const Bytes bytes = written(this->filled());
    for (std::size_t size = 2; size < bytes.size(); ++size) {
        Bytes cut(bytes.begin(), bytes.begin() + size);
        cut[1] = static_cast<unsigned char>(size - 2);
        ExactBlock block(cut);
        auto reader = block.reader();
        TypeParam d;
        if (!d.read(reader))
            continue;
        cut.resize(size - reader.availableBytes());
        EXPECT_EQ(written(d), cut) << size;
    }
}

TYPED_TEST(EveryDescriptor, ReportsAWriterThatIsTooSmallAndFillsIt)
{
    const TypeParam d = this->filled();
    const Bytes bytes = written(d);
    for (std::size_t room = 0; room <= bytes.size(); ++room) {
        ExactBlock block(room);
        {
            Writer writer(block.data(), room);
            EXPECT_EQ(d.write(writer), room == bytes.size()) << room;
        }
        EXPECT_EQ(block.bytes(room), Bytes(bytes.begin(), bytes.begin() + room)) << room;
    }
}

TYPED_TEST(EveryDescriptor, WritesBackWhatItConsumedOfRandomContent)
{
    std::mt19937 random(20240117);
    for (int round = 0; round < 3000; ++round) {
        Bytes bytes(2 + random() % 254);
        // Small values make lengths inside the body fit now and then.
        const unsigned limit = random() % 2 == 0 ? 256 : 6;
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>(random() % limit);
        // No descriptor keeps more than 198 bytes of a longer conditional access descriptor.
        bytes[1] = static_cast<unsigned char>(random() % std::min<std::size_t>(bytes.size() - 1, 199));

        ExactBlock block(bytes);
        auto reader = block.reader();
        TypeParam d;
        if (!d.read(reader))
            continue;
        bytes.resize(bytes.size() - reader.availableBytes());
        ASSERT_EQ(written(d), bytes);
    }
}

template <class... T>
std::set<std::type_index> classes_of(::testing::Types<T...> /*types*/)
{
    return {std::type_index(typeid(T))...};
}

template <class... T>
std::size_t count_of(::testing::Types<T...> /*types*/)
{
    return sizeof...(T);
}

TEST(DescriptorRegistry, HoldsEachClassOnce)
{
    EXPECT_EQ(classes_of(all_descriptors()).size(), count_of(all_descriptors()));
    EXPECT_EQ(count_of(all_descriptors()), 27U);
}

TEST(DescriptorRegistry, HoldsEveryClassThatADictionaryChooses)
{
    const auto registered = classes_of(all_descriptors());
    std::set<std::type_index> chosen;
    for (const auto type : {ZQDescriptorType::TS, ZQDescriptorType::SCTE35})
        for (unsigned tag = 0; tag < 256; ++tag)
            for (const unsigned char extension : {0, 4}) {
                ExactBlock block(Bytes{static_cast<unsigned char>(tag), 40, extension} + Bytes(39, 0));
                auto reader = block.reader();
                ZQDescriptorList list(type);
                static_cast<void>(list.read(reader));
                ASSERT_FALSE(list.empty()) << tag;
                const base_descriptor& first = **list.begin();
                if (typeid(first) != typeid(base_descriptor))
                    chosen.insert(typeid(first));
            }
    EXPECT_EQ(chosen, registered);
}

TEST(DescriptorRegistry, HoldsEveryClassThatHasAHeader)
{
    std::set<std::string> headers;
    for (const auto& file : std::filesystem::directory_iterator(ZQ_SOURCE_DIR "/mpegcore/descriptors"))
        headers.insert(file.path().stem().string());
    EXPECT_EQ(headers.size(), count_of(all_descriptors()));
    for (const std::type_index& known : classes_of(all_descriptors())) {
        const std::string name = known.name();
        const bool found = std::any_of(headers.begin(), headers.end(), [&name](const std::string& header) {
            return name == "N8mpegcore" + std::to_string(header.size()) + header + "E";
        });
        EXPECT_TRUE(found) << name;
    }
}
} // namespace
