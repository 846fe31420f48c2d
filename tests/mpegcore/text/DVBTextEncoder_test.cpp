// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/DVBText.h"
#include "mpegcore/text/UTF8.h"
#include "support/Texts.h"
#include "support/rounds.h"
#include "support/sanitizers.h"

#include <gmock/gmock.h>

#include <random>

namespace DVBTextEncoder_test
{
using namespace mpegcore;
using zqtest::Bytes;
using zqtest::bytes_of;

TEST(DVBTextEncoder, TakesTheDefaultTableWhereItIsAsSmallAsAnyOther)
{
    EXPECT_EQ(from_utf8(""), Bytes());
    EXPECT_EQ(from_utf8("News"), bytes_of("News"));
    EXPECT_EQ(from_utf8("€ 5"), bytes_of("\xA4 5"));
    EXPECT_EQ(from_utf8("né"), bytes_of("n\xC2"
                                        "e"));
    EXPECT_EQ(from_utf8("a\nb"), bytes_of("a\x8A"
                                          "b"));
    EXPECT_EQ(from_utf8("´"), bytes_of("\xC2 "));
}

TEST(DVBTextEncoder, TakesThePartOfIso8859ThatIsSmaller)
{
    EXPECT_EQ(from_utf8("été"), bytes_of("\x05\xE9t\xE9"));
    EXPECT_EQ(from_utf8("Тест"), bytes_of("\x01\xC2\xD5\xE1\xE2"));
    EXPECT_EQ(from_utf8("Ελλάδα"), bytes_of("\x03\xC5\xEB\xEB\xDC\xE4\xE1"));
    EXPECT_EQ(from_utf8("ŕčďěňř"), bytes_of("\x10\x00\x02\xE0\xE8\xEF\xEC\xF2\xF8"));
}

TEST(DVBTextEncoder, TakesTwoBytesACharacterWhereUtf8NeedsThree)
{
    if (!zqtest::iconv_is_complete())
        GTEST_SKIP() << "iconv lacks tables here";
    EXPECT_EQ(from_utf8("中한"), bytes_of("\x11\x4E\x2D\xD5\x5C"));
    EXPECT_EQ(from_utf8("KBS 뉴스"), bytes_of("\x12KBS \xB4\xBA\xBD\xBA"));
    EXPECT_EQ(from_utf8("CCTV 新闻"), bytes_of("\x13"
                                               "CCTV \xD0\xC2\xCE\xC5"));
}

TEST(DVBTextEncoder, TakesUtf8WhereNoOtherTableHasItAll)
{
    EXPECT_EQ(from_utf8("😀"), bytes_of("\x15\xF0\x9F\x98\x80"));
    EXPECT_EQ(from_utf8("some ascii, a ģ and a Ж\n"),
              bytes_of("\x15some ascii, a \xC4\xA3 and a \xD0\x96\xEE\x82\x8A"));
}

TEST(DVBTextEncoder, NeedsNoSelectionForTheTableThatIsUnderstood)
{
    EXPECT_EQ(from_utf8("Тест", TextTable::iso_8859_5), bytes_of("\xC2\xD5\xE1\xE2"));
    EXPECT_EQ(from_utf8("é", TextTable::iso_8859_1), bytes_of("\xE9"));
    EXPECT_EQ(from_utf8("A", TextTable::ucs_2), bytes_of("\x01"
                                                         "A"))
        << "whose own first byte would be a selection";
    EXPECT_EQ(from_utf8("A", TextTable::big5), bytes_of("\x01"
                                                        "A"));
}

TEST(DVBTextEncoder, LeavesOutControlCharactersAndShowsWhatIsNoUtf8AsUnknown)
{
    EXPECT_EQ(from_utf8("a\tb\u0086c\uE086d\x7F"), bytes_of("abcd"));
    EXPECT_EQ(to_utf8(from_utf8("a\xFFz")), "a\uFFFDz");
}

TEST(DVBTextEncoder, JoinsALetterAndTheMarkBehindIt)
{
    EXPECT_EQ(from_utf8("e\u0301"), bytes_of("\xC2"
                                             "e"));
    EXPECT_EQ(from_utf8("q\u0300"), bytes_of("\xC1q"));
    EXPECT_EQ(to_utf8(from_utf8("g\u0301")), "g\u0301");
}

TEST(DVBTextEncoder, GivesBackEveryCharacterThatIsNoControlCode)
{
    // With all of them AddressSanitizer would take minutes; without it none is left out.
    constexpr char32_t step = zqtest::address_sanitizer ? 13 : 1;
    for (char32_t code = 0x20; code < 0x10800; code += step) {
        const bool control = (code >= 0x7F && code < 0xA0) || (code >= 0xE080 && code <= 0xE09F);
        const bool surrogate = code >= 0xD800 && code < 0xE000;
        if (control || surrogate)
            continue;
        std::string text;
        append_utf8(text, code);
        ASSERT_EQ(to_utf8(from_utf8(text)), text) << std::hex << static_cast<std::uint32_t>(code);
    }
}

TEST(DVBTextEncoder, GivesBackRandomTextsInEveryTable)
{
    std::mt19937 random(13818);
    const std::u32string alphabet = U"abc XYZ 019\n'€éüčąřńőşİßþđĦŋÆøТестЯΕλάשלات中新闻뉴스😀´¨½♪";
    for (unsigned round = 0; round < zqtest::rounds(5'000); ++round) {
        std::string text;
        for (std::size_t left = random() % 20; left > 0; --left)
            append_utf8(text, alphabet[random() % (1 + round % alphabet.size())]);
        const auto unmarked = static_cast<TextTable>(random() % 12);
        const Bytes bytes = from_utf8(text, unmarked);
        ASSERT_EQ(to_utf8(bytes, unmarked), text) << testing::PrintToString(bytes);
        ASSERT_LE(bytes.size(),
                  text.size() + 1 + 2 * static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
    }
}
} // namespace DVBTextEncoder_test
