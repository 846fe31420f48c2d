// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/terminal_text.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <string>

namespace terminal_text_test
{
using monitor::fitted;
using monitor::wrapped;
using testing::ElementsAre;

TEST(Fitted, NothingFromTheAirSteersTheTerminal)
{
    EXPECT_EQ(fitted("a\033[2Jb\x07\xC2\x9B\x7F", 9), "a?[2Jb???");
    EXPECT_EQ(fitted("\xE2\x80\xAE"
                     "abc",
                     4),
              "?abc");
    EXPECT_EQ(fitted("\xFF", 1), "\xEF\xBF\xBD");
}

TEST(Fitted, CutsAndFillsByColumnsNotBytes)
{
    EXPECT_EQ(fitted("\xC3\xA4\xC3\xB6\xC3\xBC", 2), "\xC3\xA4\xC3\xB6");
    EXPECT_EQ(fitted("\xE6\x97\xA5\xE6\x9C\xAC", 3), "\xE6\x97\xA5 ");
    EXPECT_EQ(fitted("ab", 4, true), "  ab");
}

TEST(Wrapped, LeavesWhatFitsAsItIs)
{
    EXPECT_THAT(wrapped("  a   b", 8), ElementsAre("  a   b"));
    EXPECT_THAT(wrapped("a b c d ", 8), ElementsAre("a b c d "));
    EXPECT_THAT(wrapped("", 8), ElementsAre(""));
    EXPECT_THAT(wrapped("a\nb", 8), ElementsAre("a?b"));
}

TEST(Wrapped, BreaksAtBlanksAndIndentsWhatGoesOn)
{
    EXPECT_THAT(wrapped("one two three four", 10), ElementsAre("one two", "  three", "  four"));
    EXPECT_THAT(wrapped("  PID 257  AVC video   deu", 12), ElementsAre("  PID 257", "   AVC video", "   deu"));
    EXPECT_THAT(wrapped("one two    ", 8), ElementsAre("one two"));
}

TEST(Wrapped, BreaksWordsThatAreWiderThanALine)
{
    EXPECT_THAT(wrapped("a 1234567890123 b", 8), ElementsAre("a", "  123456", "  789012", "  3 b"));
    EXPECT_THAT(wrapped("\xE6\x97\xA5\xE6\x97\xA5\xE6\x97\xA5\xE6\x97\xA5\xE6\x97\xA5", 9),
                ElementsAre("\xE6\x97\xA5\xE6\x97\xA5\xE6\x97\xA5\xE6\x97\xA5", "  \xE6\x97\xA5"));
}

TEST(Wrapped, GivesOneLineWhereNothingCouldBeRead)
{
    EXPECT_THAT(wrapped("one two three", 7), ElementsAre("one two three"));
    EXPECT_THAT(wrapped("one two three", 0), ElementsAre("one two three"));
}

TEST(Wrapped, KeepsToTheColumnsAndLosesNothingButBlanks)
{
    std::mt19937 random{7};
    const auto without_blanks = [](std::string text) {
        text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
        return text;
    };
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (auto length = random() % 80; length != 0; --length)
            text += random() % 4 == 0 ? ' ' : static_cast<char>('a' + random() % 26);
        const std::size_t columns = 8 + random() % 40;
        std::string together;
        for (const auto& line : wrapped(text, columns)) {
            EXPECT_LE(line.size(), columns) << text;
            together += line;
        }
        EXPECT_EQ(without_blanks(together), without_blanks(text));
    }
}
} // namespace terminal_text_test
