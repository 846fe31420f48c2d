// SPDX-License-Identifier: LGPL-2.1-or-later
// What holds for every descriptor class.
#include "support/descriptor_loops.h"
#include "support/descriptor_registry.h"
#include "support/rounds.h"
#include "support/syntax_walks.h"

#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <typeindex>

namespace all_descriptors_test
{
using namespace mpegcore;
using namespace zqtest;

/// One class of the registry, seen through the base, so that each test is compiled once and not once a class.
struct Row
{
    std::string name;
    std::type_index type;
    std::uint8_t tag;
    std::vector<DescriptorPlace> places;
    std::shared_ptr<base_descriptor> (*fresh)();
    std::shared_ptr<base_descriptor> (*filled)();
    std::shared_ptr<base_descriptor> (*copied)(const base_descriptor&);
    std::vector<std::uint64_t> (*fields)(const base_descriptor&);
    void (*change)(base_descriptor&);
};

/// The class name out of "N8mpegcore<length><name>E".
template <class T>
std::string class_name()
{
    std::string name = typeid(T).name();
    name = name.substr(name.find_first_not_of("0123456789", std::string("N8mpegcore").size()));
    return name.substr(0, name.size() - 1);
}

template <class T>
Row row()
{
    using Base = base_descriptor;
    using Shared = std::shared_ptr<Base>;
    return {class_name<T>(),
            typeid(T),
            T::tag,
            {T::places.begin(), T::places.end()},
            []() -> Shared { return std::make_shared<T>(); },
            []() -> Shared {
                const auto d = std::make_shared<T>();
                fill(*d);
                return d;
            },
            [](const Base& d) -> Shared { return std::make_shared<T>(static_cast<const T&>(d)); },
            [](const Base& d) { return fields(static_cast<const T&>(d)); },
            [](Base& d) { change(static_cast<T&>(d)); }};
}

template <class... T>
struct Rows
{
    static std::vector<Row> make() { return {row<T>()...}; }
};

const std::vector<Row>& rows()
{
    static const std::vector<Row> all = descriptor_classes<Rows>::make();
    return all;
}

class EveryDescriptor : public ::testing::TestWithParam<Row>
{
protected:
    const Row& row = GetParam();
    const std::shared_ptr<base_descriptor> original = row.filled();
    const std::vector<std::uint64_t> before = row.fields(*original);
};

INSTANTIATE_TEST_SUITE_P(Registry, EveryDescriptor, ::testing::ValuesIn(rows()),
                         [](const auto& instance) { return instance.param.name; });

TEST_P(EveryDescriptor, StartsWithItsTagAndAllFieldsZero)
{
    const auto fresh = row.fresh();
    EXPECT_EQ(fresh->descriptor_tag, row.tag);
    EXPECT_EQ(fresh->payload.data(), nullptr);
    fresh->descriptor_tag = 0;
    EXPECT_THAT(row.fields(*fresh), ::testing::Each(0U));
}

TEST_P(EveryDescriptor, ReadsBackWhatItWrote)
{
    const Bytes bytes = written(*original);
    EXPECT_EQ(bytes.size(), 2U + original->descriptor_length);

    ExactBlock block(bytes);
    auto reader = block.reader();
    const auto back = row.fresh();
    ASSERT_TRUE(back->read(reader));
    EXPECT_EQ(written(*back), bytes);
    EXPECT_EQ(row.fields(*back), before);
    EXPECT_EQ(reader.availableBytes(), 0U);
    EXPECT_EQ(back->payload.data(), nullptr);
}

TEST_P(EveryDescriptor, ForgetsWhatItHeldWhenItReadsAgain)
{
    ExactBlock block(written(*original));
    auto reader = block.reader();
    const auto twice = row.filled();
    row.change(*twice);
    ASSERT_TRUE(twice->read(reader));
    EXPECT_EQ(written(*twice), written(*original));
}

TEST_P(EveryDescriptor, TakesTheTagOfTheStream)
{
    Bytes bytes = written(*original);
    bytes[0] = 0xC5;
    ExactBlock block(bytes);
    auto reader = block.reader();
    const auto d = row.fresh();
    ASSERT_TRUE(d->read(reader));
    EXPECT_EQ(d->descriptor_tag, 0xC5);
    EXPECT_EQ(written(*d), bytes);
}

/// Leaves bytes that are not 0 in the blocks that are taken next.
void leave_dirty_blocks()
{
    for (std::size_t size = 64; size <= 1024; size += 64) {
        void* const block = take_block(size);
        std::memset(block, 0xA5, size);
        give_block(block, size);
    }
}

TEST_P(EveryDescriptor, CreatesAFreshObjectOfItsOwnClass)
{
    leave_dirty_blocks();
    const auto created = original->create();
    ASSERT_EQ(type_of(*created), row.type);
    EXPECT_EQ(row.fields(*created), row.fields(*row.fresh()));
}

TEST_P(EveryDescriptor, SharesNothingWithItsCopy)
{
    const auto copy = original->create();
    original->copyTo(copy.get());
    EXPECT_EQ(row.fields(*copy), before);
    row.change(*copy);
    EXPECT_NE(row.fields(*copy), before);
    EXPECT_EQ(row.fields(*original), before);
}

TEST_P(EveryDescriptor, SharesNothingWithACopyMadeByTheLanguage)
{
    const auto copy = row.copied(*original);
    EXPECT_EQ(row.fields(*copy), before);
    row.change(*copy);
    EXPECT_NE(row.fields(*copy), before);
    EXPECT_EQ(row.fields(*original), before);
}

TEST_P(EveryDescriptor, CopiesToNowhereToItselfAndToAStrangerWithoutHarm)
{
    original->copyTo(nullptr);
    original->copyTo(original.get());
    base_descriptor stranger;
    original->copyTo(&stranger);
    EXPECT_EQ(row.fields(*original), before);
    EXPECT_EQ(stranger.descriptor_tag, 0);
    EXPECT_EQ(stranger.descriptor_length, 0);
}

TEST_P(EveryDescriptor, RefusesABodyThatTheDataDoNotHold)
{
    const Bytes bytes = written(*original);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        ExactBlock block(Bytes(bytes.begin(), bytes.begin() + size));
        auto reader = block.reader();
        EXPECT_FALSE(row.fresh()->read(reader)) << size;
    }
}

TEST_P(EveryDescriptor, EndsWithinTheDataWhenItsLengthIsCutAlong)
{
    const Bytes bytes = written(*original);
    for (std::size_t size = 2; size < bytes.size(); ++size) {
        Bytes cut(bytes.begin(), bytes.begin() + size);
        cut[1] = static_cast<unsigned char>(size - 2);
        ExactBlock block(cut);
        auto reader = block.reader();
        const auto d = row.fresh();
        if (!d->read(reader))
            continue;
        cut.resize(size - reader.availableBytes());
        EXPECT_EQ(written(*d), cut) << size;
    }
}

TEST_P(EveryDescriptor, ReportsAWriterThatIsTooSmallAndFillsIt)
{
    const Bytes bytes = written(*original);
    for (std::size_t room = 0; room <= bytes.size(); ++room) {
        ExactBlock block(room);
        {
            Writer writer(block.data(), room);
            EXPECT_EQ(original->write(writer), room == bytes.size()) << room;
        }
        EXPECT_EQ(block.bytes(room), Bytes(bytes.begin(), bytes.begin() + room)) << room;
    }
}

TEST_P(EveryDescriptor, WritesBackWhatItConsumedOfRandomContent)
{
    std::mt19937 random(20240117);
    unsigned whole = 0;
    for (unsigned round = 0; round < zqtest::rounds(3000); ++round) {
        Bytes bytes(2 + random() % 254);
        // Small values make lengths inside the body fit now and then.
        const unsigned limit = random() % 2 == 0 ? 256 : 6;
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>(random() % limit);
        // No descriptor keeps more than 198 bytes of a longer conditional access descriptor.
        bytes[1] = static_cast<unsigned char>(random() % std::min<std::size_t>(bytes.size() - 1, 199));

        ExactBlock block(bytes);
        auto reader = block.reader();
        const auto d = row.fresh();
        if (!d->read(reader))
            continue;
        ++whole;
        bytes.resize(bytes.size() - reader.availableBytes());
        ASSERT_EQ(written(*d), bytes);
    }
    EXPECT_GT(whole, 500 / zqtest::stride(20)); // a tenth of the tries may by chance have less than a tenth
}

TEST(DescriptorRegistry, HoldsEachClassOnce)
{
    std::set<std::type_index> classes;
    for (const Row& known : rows())
        classes.insert(known.type);
    EXPECT_EQ(classes.size(), rows().size());
}

TEST(DescriptorRegistry, HoldsNoMoreThanTheStatedClassesInTheStatedDictionaries)
{
    const auto stated = std::count_if(rows().begin(), rows().end(), [](const Row& known) {
        return std::any_of(known.places.begin(), known.places.end(), [](const DescriptorPlace& place) {
            return place.dictionary == ZQDescriptorType::TS || place.dictionary == ZQDescriptorType::SCTE35;
        });
    });
    EXPECT_EQ(stated, 27);
}

TEST(DescriptorRegistry, HasOneClassAtAPlace)
{
    std::set<std::tuple<ZQDescriptorType, int, int, std::uint32_t>> taken;
    for (const Row& known : rows())
        for (const DescriptorPlace& place : known.places)
            EXPECT_TRUE(taken.emplace(place.dictionary, place.tag, place.extension, place.first_specifier).second)
                << known.name;
}

Bytes written_specifier(std::uint32_t specifier)
{
    private_data_specifier_descriptor d;
    d.private_data_specifier = specifier;
    d.descriptor_length = 4;
    return written(d);
}

constexpr int extension_of_nobody = 0xFE;

TEST_P(EveryDescriptor, IsChosenAtItsPlaces)
{
    ASSERT_FALSE(row.places.empty());
    for (const DescriptorPlace& place : row.places) {
        Bytes bytes = written(*original);
        bytes[0] = place.tag;
        if (place.tag == DescriptorPlace::extension_tag)
            bytes[2] = static_cast<unsigned char>(
                place.extension == DescriptorPlace::any_extension ? extension_of_nobody : place.extension);
        const Bytes owner = place.first_specifier == 0 ? Bytes{} : written_specifier(place.first_specifier);
        ExactBlock block(owner + bytes);
        auto reader = block.reader();
        ZQDescriptorList list(place.dictionary);
        EXPECT_TRUE(list.read(reader));
        ASSERT_EQ(list.size(), owner.empty() ? 1U : 2U);
        const base_descriptor& last = **(list.end() - 1);
        EXPECT_EQ(type_of(last), row.type);
        EXPECT_EQ(written(list), owner + bytes);
    }
}

TEST(DescriptorRegistry, HoldsEveryClassThatHasAHeader)
{
    std::set<std::string> registered, headers;
    for (const Row& known : rows())
        registered.insert(known.name);
    for (const auto& file : std::filesystem::directory_iterator(ZQ_SOURCE_DIR "/mpegcore/descriptors"))
        if (const std::string name = file.path().stem().string(); name.find("_descriptor") != std::string::npos)
            headers.insert(name);
    EXPECT_EQ(headers, registered);
}

/// The sentence that stands above the class in its header.
std::string meaning(const std::string& name)
{
    std::ifstream header(ZQ_SOURCE_DIR "/mpegcore/descriptors/" + name + ".h");
    std::string line, comment;
    while (std::getline(header, line) && line != "class " + name && line.rfind("class " + name + " ", 0) != 0)
        comment = line.rfind("/// ", 0) == 0 ? comment + (comment.empty() ? "" : " ") + line.substr(4) : "";
    return comment;
}

std::string tag_text(const DescriptorPlace& place)
{
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0') << "0x" << std::setw(2) << int{place.tag};
    if (place.extension != DescriptorPlace::any_extension)
        text << "/0x" << std::setw(2) << place.extension;
    return text.str();
}

std::string owner_text(const DescriptorPlace& place)
{
    if (place.first_specifier == 0)
        return "";
    std::ostringstream text;
    text << std::hex << std::uppercase << " behind 0x" << place.first_specifier;
    if (place.last_specifier != place.first_specifier)
        text << "-0x" << place.last_specifier;
    return text.str();
}

/// The table of docs/descriptors.md as the registry has it: by tag, a line for each class and tag.
std::string documented()
{
    const std::map<ZQDescriptorType, std::string> names{{ZQDescriptorType::TS, "TS"},
                                                        {ZQDescriptorType::SCTE35, "SCTE35"},
                                                        {ZQDescriptorType::Standard, "Standard"},
                                                        {ZQDescriptorType::StandardSCTE35, "StandardSCTE35"},
                                                        {ZQDescriptorType::StandardAIT, "StandardAIT"}};
    std::map<std::pair<std::string, std::string>, std::string> dictionaries;
    for (const Row& known : rows())
        for (const DescriptorPlace& place : known.places) {
            std::string& text = dictionaries[{tag_text(place), known.name}];
            text += (text.empty() ? "" : ", ") + names.at(place.dictionary) + owner_text(place);
        }
    std::string table = "| Tag | Class | Dictionaries | What it says |\n|---|---|---|---|\n";
    for (const auto& [where, text] : dictionaries)
        table += "| " + where.first + " | `" + where.second + "` | " + text + " | " + meaning(where.second) + " |\n";
    return table;
}

TEST(DescriptorRegistry, StandsInTheDocumentation)
{
    std::ifstream file(ZQ_SOURCE_DIR "/docs/descriptors.md");
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    const std::string table = documented();
    EXPECT_EQ(page.substr(std::min(page.find("| Tag |"), page.size())), table) << "the table is to be\n" << table;
}
} // namespace all_descriptors_test
