// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/SingleByteTables.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <map>

namespace SingleByteTables_test
{
using namespace mpegcore;
using zqtest::by_iconv;
using zqtest::Bytes;

std::string name_of_part(int part) { return "ISO-8859-" + std::to_string(part); }

/// A byte of the upper half by the table under test, without what comes out as unknown.
std::string by_table(TextTable table, Bytes bytes)
{
    const std::string text = to_utf8(bytes, table);
    return text.find("\uFFFD") == std::string::npos ? text : std::string();
}

class PartOfIso8859 : public testing::TestWithParam<int>
{};

TEST_P(PartOfIso8859, HasTheCharactersThatIconvHas)
{
    const auto table = static_cast<TextTable>(GetParam());
    const std::string name = name_of_part(GetParam());
    if (by_iconv(name.c_str(), {'A'}).empty())
        GTEST_SKIP() << "iconv does not know " << name;
    for (int byte = 0x20; byte < 0x100; ++byte) {
        if (byte >= 0x7F && byte < 0xA0)
            continue;
        const auto code = static_cast<unsigned char>(byte);
        EXPECT_EQ(by_table(table, {code}), by_iconv(name.c_str(), {code})) << byte;
    }
}

INSTANTIATE_TEST_SUITE_P(All, PartOfIso8859, testing::Values(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 15),
                         [](const auto& part) { return "Number" + std::to_string(part.param); });

TEST(Iso6937, HasTheCharactersThatIconvHasButForThree)
{
    if (by_iconv("ISO_6937", {'A'}).empty())
        GTEST_SKIP() << "iconv does not know ISO 6937";
    // Annex A has the euro, and iconv reads two signs that the standard unites as the other one of each.
    const std::map<int, std::string> otherwise{{0xA4, "€"}, {0xD0, "―"}, {0xE2, "Đ"}};
    for (int byte = 0xA0; byte < 0x100; ++byte) {
        const auto code = static_cast<unsigned char>(byte);
        if (find_diacritical_mark(code) != nullptr)
            continue;
        const auto own = otherwise.find(byte);
        EXPECT_EQ(by_table(TextTable::iso_6937, {code}),
                  own == otherwise.end() ? by_iconv("ISO_6937", {code}) : own->second)
            << byte;
    }
}

TEST(Iso6937, ComposesWhatIconvComposes)
{
    if (by_iconv("ISO_6937", {'A'}).empty())
        GTEST_SKIP() << "iconv does not know ISO 6937";
    int composed = 0;
    for (const auto& mark : diacritical_marks())
        for (unsigned char letter = 'A'; letter <= 'z'; ++letter) {
            const std::string expected = by_iconv("ISO_6937", {mark.byte, letter});
            if (expected.empty())
                continue;
            EXPECT_EQ(by_table(TextTable::iso_6937, {mark.byte, letter}), expected) << int{mark.byte} << letter;
            ++composed;
        }
    EXPECT_EQ(composed, 155);
}

TEST(Iso6937, HasAComposedFormForEachLetterThatItLists)
{
    for (const auto& mark : diacritical_marks()) {
        EXPECT_EQ(mark.letters.size(), mark.composed.size()) << int{mark.byte};
        EXPECT_EQ(find_diacritical_mark(mark.byte), &mark);
        for (const char16_t letter : mark.letters)
            EXPECT_TRUE(carries_mark(letter)) << int{mark.byte} << ' ' << static_cast<int>(letter);
    }
}
} // namespace SingleByteTables_test
