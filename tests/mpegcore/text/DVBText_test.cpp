// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/DVBText.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <random>

namespace DVBText_test
{
using namespace mpegcore;
using zqtest::Bytes;
using zqtest::bytes_of;

struct Example
{
    Bytes bytes;
    std::string utf8;
};

void expect_all(const std::vector<Example>& examples)
{
    for (const auto& example : examples)
        EXPECT_EQ(to_utf8(example.bytes), example.utf8) << testing::PrintToString(example.bytes);
}

const std::string unknown = "\uFFFD";

TEST(DVBText, WithoutASelectionIsIso6937)
{
    expect_all({
        {{}, ""},
        {bytes_of("News at Ten"), "News at Ten"},
        {bytes_of("\xA4"
                  "5, $5, \xA8"
                  "5"),
         "€5, $5, ¤5"},
        {bytes_of("\xA9quoted\xB9 \xAAtwice\xBA"), "‘quoted’ “twice”"},
        {bytes_of("\xE1r\xF9 m\xFA\xFB"), "Ærø mœß"},
    });
}

TEST(DVBText, PutsTheMarkInFrontOfALetterBehindItAndComposesBoth)
{
    expect_all({
        {bytes_of("\xC1"
                  "a\xC2"
                  "e\xC3i\xC4n\xC5o\xC6g\xC7z\xC8u"),
         "àéîñōğżü"},
        {bytes_of("\xCA"
                  "A\xCB"
                  "c\xCDo\xCE"
                  "e\xCFr"),
         "Åçőęř"},
        {bytes_of("\xCFZ\xC8iv\xC2y p\xCF"
                  "ribeh"),
         "Žïvý přibeh"},
        {bytes_of("\xC2\xE1\xC2\xF9"), "Ǽǿ"},
    });
}

TEST(DVBText, LeavesTheMarkBehindALetterWithoutAComposedForm)
{
    expect_all({{bytes_of("\xC1q!"), "q\u0300!"}, {bytes_of("\xCE\xF1"), "æ\u0328"}});
}

TEST(DVBText, HasTheLatvianSmallGWhoseCedillaStandsAboveIt) { expect_all({{bytes_of("\xC2g\xCBg\xCBG"), "ģģĢ"}}); }

TEST(DVBText, ShowsAMarkThatStandsOnNoLetterAndKeepsWhatFollows)
{
    expect_all({
        {bytes_of("\xC2 \xC8 \xCF ."), "´¨ˇ."},
        {bytes_of("\xC1 \xC3 \xC4 \xC5 \xC6 \xC7 \xCA \xCB \xCD \xCE "), "`^~¯˘˙˚¸˝˛"},
        {bytes_of("\xC2"
                  "5"),
         "´5"},
        {bytes_of("x\xC2"), "x´"},
        {bytes_of("\xC2\xC8u"), "´ü"},
        {bytes_of("\xC2\x8A"
                  "e"),
         "´\ne"},
        {bytes_of("\xC2\xA3"), "´£"},
    });
}

TEST(DVBText, ShowsWhatIso6937DoesNotDefineAsUnknown)
{
    for (const int byte : {0xA6, 0xC0, 0xC9, 0xCC, 0xD8, 0xD9, 0xDA, 0xDB, 0xE5})
        EXPECT_EQ(to_utf8({'a', static_cast<unsigned char>(byte), 'b'}), "a" + unknown + "b") << byte;
}

TEST(DVBText, ChoosesAPartOfIso8859ByItsFirstByte)
{
    expect_all({
        {bytes_of("\x01\xC2\xD5\xE1\xE2\xD8"), "Тести"}, // ISO/IEC 8859-5
        {bytes_of("\x02\xC7\xE4"), "\u0627\u0644"},
        {bytes_of("\x03\xC5\xEB\xEB\xDC\xE4\xE1 \xA4"), "Ελλάδα €"},
        {bytes_of("\x04\xF9\xEC"), "\u05E9\u05DC"},
        {bytes_of("\x05\xDD\xFE"), "İş"},
        {bytes_of("\x06\xBD\xA1"), "―Ą"},
        {bytes_of("\x07\xA1\xE0"), "\u0E01\u0E40"},
        {bytes_of("\x09\xE0\xFF"), "ą’"},
        {bytes_of("\x0A\xD0\xDE"), "ŴŶ"},
        {bytes_of("\x0B\xA4\xBD"), "€œ"},
    });
}

TEST(DVBText, ChoosesAPartOfIso8859ByItsNumber)
{
    expect_all({
        {bytes_of("\x10\x00\x01\xE9t\xE9"), "été"},
        {bytes_of("\x10\x00\x02\xB1\xEA"), "ąę"},
        {bytes_of("\x10\x00\x03\xA1"), "Ħ"},
        {bytes_of("\x10\x00\x04\xA2"), "ĸ"},
        {bytes_of("\x10\x00\x05\xC2\xD5"), "Те"},
        {bytes_of("\x10\x00\x0F\xA4"), "€"},
    });
}

TEST(DVBText, SkipsASelectionThatIsReservedAndReadsTheRestAsUnmarked)
{
    for (const int selection : {0x00, 0x08, 0x0C, 0x0D, 0x0E, 0x0F, 0x16, 0x1A, 0x1E}) {
        const Bytes text{static_cast<unsigned char>(selection), 'A', 0xC8, 'o'};
        EXPECT_EQ(to_utf8(text), "Aö") << selection;
        EXPECT_FALSE(select_text_table(text.data(), text.size()).valid) << selection;
    }
    expect_all({
        {bytes_of("\x10\x00\x0C\xC8o"), "ö"},
        {bytes_of("\x10\x00\x00\xC8o"), "ö"},
        {bytes_of("\x10\x00\x10\xC8o"), "ö"},
        {bytes_of("\x10\x01\x05\xC8o"), "ö"},
    });
}

TEST(DVBText, WhoseSelectionIsCutOffIsUnknown)
{
    expect_all({{bytes_of("\x10"), unknown}, {bytes_of("\x10\x00"), unknown}, {bytes_of("\x1F"), unknown}});
}

TEST(DVBText, OfPaddingAloneIsEmpty) { expect_all({{bytes_of("\0"), ""}, {bytes_of("\0\0\0"), ""}}); }

TEST(DVBText, OfNothingButASelectionIsEmpty)
{
    expect_all({{bytes_of("\x01"), ""}, {bytes_of("\x15"), ""}, {bytes_of("\x10\x00\x05"), ""}});
}

TEST(DVBText, OfTwoBytesACharacterIsTheBasicMultilingualPlane)
{
    expect_all({
        {bytes_of("\x11\x00"
                  "A\x04\x22\x4E\x2D\x20\xAC"),
         "AТ中€"},
        {bytes_of("\x11\xD8\x3D\xDE\x00"), "😀"},
        {bytes_of("\x11\xD8\x3D\x00"
                  "A"),
         unknown + "A"},
        {bytes_of("\x11\xDE\x00\xD8\x3D"), unknown + unknown},
        {bytes_of("\x11\x00"
                  "A\x4E"),
         "A" + unknown},
    });
}

TEST(DVBText, InKoreanAndSimplifiedChineseHasPairsBesideAscii)
{
    if (!zqtest::iconv_is_complete())
        GTEST_SKIP() << "iconv lacks tables here";
    expect_all({
        {bytes_of("\x12KBS \xB4\xBA\xBD\xBA 9"), "KBS 뉴스 9"},
        {bytes_of("\x13"
                  "CCTV \xD0\xC2\xCE\xC5"),
         "CCTV 新闻"},
    });
}

TEST(DVBText, KeepsTheAsciiCharacterBehindHalfAPair)
{
    expect_all({
        {bytes_of("\x12\xB4"
                  "A"),
         unknown + "A"},
        {bytes_of("\x13\xD0"), unknown},
        {bytes_of("\x13\xFF\xFF"
                  "A"),
         unknown + "A"},
        {bytes_of("\x13\xA0"
                  "A"),
         unknown + "A"},
    });
}

TEST(DVBText, InTraditionalChineseIsReadAsUnitsOfIso10646OrAsBig5)
{
    if (!zqtest::iconv_is_complete())
        GTEST_SKIP() << "iconv lacks tables here";
    expect_all({
        {bytes_of("\x14\x4E\x2D\x65\x87\xFF\x01"), "中文！"},
        {bytes_of("\x14\xA4\xA4\xA4\xE5"), "中文"},
        {bytes_of("\x14TVB \xA4\xA4"), "TVB 中"},
        {bytes_of("\x14\xA4\xA4!"), "中!"},
    });
}

TEST(DVBText, InUtf8IsTakenAsItIsWhereItIsValid)
{
    expect_all({
        {bytes_of("\x15Gr\xC3\xBC\xC3\x9F"
                  "e \xF0\x9F\x98\x80"),
         "Grüße 😀"},
        {bytes_of("\x15\xC0\xAF"), unknown + unknown},
        {bytes_of("\x15\xED\xA0\x80"), unknown + unknown + unknown},
        {bytes_of("\x15\xF4\x90\x80\x80"), unknown + unknown + unknown + unknown},
        {bytes_of("\x15\xE2\x82!"), unknown + "!"},
        {bytes_of("\x15\xF0\x9F\x98"), unknown},
        {bytes_of("\x15\xFF\x80"), unknown + unknown},
    });
}

TEST(DVBText, OfAPrivateEncodingIsUnknownAsAWhole)
{
    expect_all({{bytes_of("\x1F\x01\x52\x9A\x33"), unknown}});
    const auto selection = select_text_table(bytes_of("\x1F\x01\x52").data(), 3);
    EXPECT_EQ(selection.table, TextTable::private_encoding);
    EXPECT_EQ(selection.length, 2U);
    EXPECT_TRUE(selection.valid);
}

TEST(DVBText, BreaksLinesAndLeavesOutAllOtherControlCodesInEveryTable)
{
    if (!zqtest::iconv_is_complete())
        GTEST_SKIP() << "iconv lacks tables here";
    expect_all({
        {bytes_of("a\x86"
                  "b\x87\x8A"
                  "c\x80\x85\x88\x89\x8B\x92\x9F"),
         "ab\nc"},
        {bytes_of("\x05"
                  "a\x86"
                  "b\x87\x8A"
                  "c\x92"),
         "ab\nc"},
        {bytes_of("\x11\0a\xE0\x86\0b\xE0\x87\xE0\x8A\0c\xE0\x9F\0\x8A\0\x86"), "ab\nc\n"},
        {bytes_of("\x12"
                  "a\xE0\x86"
                  "b\xE0\x8A"
                  "c\x8A\x86"),
         "ab\nc\n"},
        {bytes_of("\x14\xA4\xA4\xE0\x86"
                  "b\xE0\x8A"),
         "中b\n"},
        {bytes_of("\x15"
                  "a\xC2\x86"
                  "b\xC2\x8A"
                  "c\xEE\x82\x86\xEE\x82\x8A\xEE\x82\x9F"),
         "ab\nc\n"},
    });
}

TEST(DVBText, BreaksLinesAtALineFeedAndLeavesOutTheRestOfAscii)
{
    expect_all({{bytes_of("a\r\nb\tc\0d\x1B"
                          "e\x7F"),
                 "a\nbcde"}});
}

TEST(DVBText, WithoutASelectionIsReadByTheTableThatTheCallerNames)
{
    EXPECT_EQ(to_utf8(bytes_of("caf\xE9"), TextTable::iso_8859_1), "café");
    EXPECT_EQ(to_utf8(bytes_of("\xC2\xD5\xE1\xE2"), TextTable::iso_8859_5), "Тест");
    EXPECT_EQ(to_utf8(bytes_of("caf\xC3\xA9"), TextTable::utf_8), "café");
    EXPECT_EQ(to_utf8(bytes_of("\x0C\xE9"), TextTable::iso_8859_1), "é") << "also behind a reserved selection";
    EXPECT_EQ(to_utf8(bytes_of("\x05\xFE"), TextTable::iso_8859_1), "ş") << "a selection holds all the same";
}

TEST(DVBText, OfAnyBytesIsUtf8AndAtMostThreeTimesAsLong)
{
    if (!zqtest::iconv_is_complete())
        GTEST_SKIP() << "iconv lacks tables here";
    std::mt19937 random(468);
    for (int round = 0; round < 5'000; ++round) {
        Bytes bytes(random() % 40);
        for (auto& byte : bytes)
            byte = static_cast<unsigned char>(random());
        if (!bytes.empty() && round % 2 == 0)
            bytes[0] = static_cast<unsigned char>(random() % 0x20);
        for (const auto unmarked : {TextTable::iso_6937, TextTable::iso_8859_8, TextTable::ks_x_1001}) {
            const std::string text = to_utf8(bytes, unmarked);
            ASSERT_TRUE(zqtest::is_utf8(text)) << testing::PrintToString(bytes);
            ASSERT_LE(text.size(), 3 * bytes.size()) << testing::PrintToString(bytes);
            ASSERT_THAT(text, testing::Not(testing::Contains(
                                  testing::AllOf(testing::Ge('\0'), testing::Lt(' '), testing::Ne('\n')))));
        }
    }
}

TEST(DVBText, CutOffAnywhereStartsAsTheWholeDoes)
{
    if (!zqtest::iconv_is_complete())
        GTEST_SKIP() << "iconv lacks tables here";
    const std::vector<Bytes> texts{bytes_of("K\xC2y\xCFz\xA4"),      bytes_of("\x01\xC2\xD5\xE1\xE2"),
                                   bytes_of("\x10\x00\x02\xB1\xEA"), bytes_of("\x11\x4E\x2D\x20\xAC"),
                                   bytes_of("\x12\xB4\xBA\xBD\xBA"), bytes_of("\x15\xC3\xBC\xE2\x82\xAC")};
    for (const auto& text : texts) {
        const std::string whole = to_utf8(text);
        for (std::size_t size = 0; size <= text.size(); ++size) {
            std::string start = to_utf8(Bytes(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size)));
            ASSERT_TRUE(zqtest::is_utf8(start));
            // A character cut in two shows as unknown, a mark without its letter as itself.
            for (const std::string half : {"\uFFFD", "´", "ˇ"})
                if (const auto rest = start.size() - std::min(half.size(), start.size());
                    start.substr(rest) == half && whole.compare(0, start.size(), start) != 0)
                    start.resize(rest);
            EXPECT_EQ(whole.substr(0, start.size()), start) << testing::PrintToString(text) << size;
        }
    }
}

TEST(DVBText, OfACodeIsLatin1)
{
    const Bytes code = bytes_of("d\xE9\x00\x8A~");
    EXPECT_EQ(latin_1_to_utf8(code.data(), code.size()), "dé" + unknown + unknown + "~");
    EXPECT_EQ(latin_1_to_utf8(nullptr, 0), "");
}

TEST(DVBText, HasItsTablesByName)
{
    EXPECT_EQ(text_table_of_name("ISO-6937"), TextTable::iso_6937);
    EXPECT_EQ(text_table_of_name("iso-8859-15"), TextTable::iso_8859_15);
    EXPECT_EQ(text_table_of_name("utf-8"), TextTable::utf_8);
    EXPECT_EQ(text_table_of_name("ISO-8859-12"), std::nullopt);
    EXPECT_EQ(text_table_of_name("ISO-8859-1x"), std::nullopt);
    EXPECT_EQ(text_table_of_name(""), std::nullopt);
}
} // namespace DVBText_test
