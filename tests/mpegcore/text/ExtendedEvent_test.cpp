// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/ExtendedEvent.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

namespace ExtendedEvent_test
{
using namespace mpegcore;
using zqtest::Bytes;
using zqtest::bytes_of;

using Language = std::array<unsigned char, 3>;
constexpr Language english{'e', 'n', 'g'};
constexpr Language welsh{'w', 'e', 'l'};

std::shared_ptr<extended_event_descriptor> part(const Language& language, unsigned number, unsigned last,
                                                const Bytes& text)
{
    auto descriptor = std::make_shared<extended_event_descriptor>();
    descriptor->descriptor_number = static_cast<std::uint8_t>(number);
    descriptor->last_descriptor_number = static_cast<std::uint8_t>(last);
    descriptor->ISO_639_language_code = language;
    descriptor->text_char = text;
    return descriptor;
}

void add_item(extended_event_descriptor& descriptor, const Bytes& description, const Bytes& text)
{
    extended_event_descriptor::item item;
    item.item_description_char = description;
    item.item_char = text;
    descriptor.items.push_back(item);
}

TEST(ExtendedEvent, JoinsTheTextsOfALanguageByTheirNumbers)
{
    ZQDescriptorList list;
    list.append(part(english, 1, 2, bytes_of("and then ")));
    list.append(part(welsh, 0, 0, bytes_of("\x05Noswaith dda")));
    list.append(part(english, 0, 2, bytes_of("First, ")));
    list.append(part(english, 2, 2,
                     bytes_of("caf\xC2"
                              "e.")));
    const auto events = join_extended_events(list);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].ISO_639_language_code, "eng");
    EXPECT_EQ(events[0].text, "First, and then café.");
    EXPECT_TRUE(events[0].complete);
    EXPECT_EQ(events[1].ISO_639_language_code, "wel");
    EXPECT_EQ(events[1].text, "Noswaith dda");
    EXPECT_TRUE(events[1].complete);
}

TEST(ExtendedEvent, JoinsItsItemsAndGoesOnWithOneThatWasSplit)
{
    ZQDescriptorList list;
    const auto first = part(english, 0, 1, {});
    add_item(*first, bytes_of("Director"), bytes_of("A. Nother"));
    add_item(*first, bytes_of("Cast"), bytes_of("Ann, "));
    const auto second = part(english, 1, 1, {});
    add_item(*second, {}, bytes_of("Bob"));
    add_item(*second, {}, bytes_of("no description of its own"));
    list.append(first);
    list.append(second);
    const auto events = join_extended_events(list);
    ASSERT_EQ(events.size(), 1U);
    const auto& items = events[0].items;
    ASSERT_EQ(items.size(), 3U);
    EXPECT_EQ(items[0].description, "Director");
    EXPECT_EQ(items[0].text, "A. Nother");
    EXPECT_EQ(items[1].description, "Cast");
    EXPECT_EQ(items[1].text, "Ann, Bob");
    EXPECT_EQ(items[2].description, "");
    EXPECT_EQ(items[2].text, "no description of its own");
}

TEST(ExtendedEvent, WithAPartMissingIsJoinedButNotComplete)
{
    ZQDescriptorList list;
    list.append(part(english, 0, 2, bytes_of("a")));
    list.append(part(english, 2, 2, bytes_of("c")));
    const auto events = join_extended_events(list);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].text, "ac");
    EXPECT_FALSE(events[0].complete);
}

TEST(ExtendedEvent, CountsTheFirstOfTwoPartsWithOneNumber)
{
    ZQDescriptorList list;
    list.append(part(english, 0, 0, bytes_of("a")));
    list.append(part(english, 0, 0, bytes_of("b")));
    EXPECT_EQ(join_extended_events(list).at(0).text, "a");
}

TEST(ExtendedEvent, WhoseNumberIsBeyondTheLastIsNotComplete)
{
    ZQDescriptorList list;
    list.append(part(english, 15, 3, bytes_of("z")));
    EXPECT_FALSE(join_extended_events(list).at(0).complete);
}

TEST(ExtendedEvent, ReadsUnmarkedTextsByTheTableThatTheCallerNames)
{
    ZQDescriptorList list;
    list.append(part(english, 0, 0, bytes_of("caf\xE9")));
    EXPECT_EQ(join_extended_events(list, TextTable::iso_8859_1).at(0).text, "café");
}

TEST(ExtendedEvent, IsNoneWithoutItsDescriptor)
{
    ZQDescriptorList list;
    list.append(std::make_shared<short_event_descriptor>());
    EXPECT_TRUE(join_extended_events(list).empty());
}
} // namespace ExtendedEvent_test
