#include "process/TerminalText.h"

#include <clocale>

#include <gmock/gmock.h>

namespace {

TEST(TerminalText, LeavesNothingThatActsOnATerminal)
{
    const std::vector<std::pair<std::string, std::string>> cases{
        {"", ""},
        {"My Disk", "My Disk"},
        {"\xc3\x9c"
         "bung \xe6\x97\xa5 \xf0\x9f\x98\x80",
         "\xc3\x9c"
         "bung \xe6\x97\xa5 \xf0\x9f\x98\x80"},
        {"a\nb\tc\r", "a\\x0ab\\x09c\\x0d"},
        {"\x1b[2J\x7f", "\\x1b[2J\\x7f"},
        {"\xc2\x9b"
         "31m",
         "\\xc2\\x9b31m"}, // a control sequence introducer of one character
        {"\xe2\x80\xae"
         "gpj.exe",
         "\\xe2\\x80\\xaegpj.exe"},             // turns the writing direction round
        {"\xe2\x80\xa8", "\\xe2\\x80\\xa8"},    // a line separator
        {"\xe2\x80\xa9", "\\xe2\\x80\\xa9"},    // a paragraph separator
        {"\xff\x41\xfc\n", "\\xffA\\xfc\\x0a"}, // Latin-1
        {"\xed\xa0\x80", "\\xed\\xa0\\x80"},    // half a surrogate pair
        {std::string("a\0b", 3), "a\\x00b"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(TerminalText::harmless(text), expected);
    }
}

TEST(TerminalText, IsCutWhereTheNextCharacterWouldNotFit)
{
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    const std::string text = "a\xe6\x97\xa5\xc3\x9c";
    const std::vector<std::string> cuts{"", "a", "a", "a\xe6\x97\xa5", text, text};
    for (std::size_t most = 0; most < cuts.size(); ++most) {
        EXPECT_EQ(TerminalText::cut(text, most), cuts[most]) << most;
    }
}

TEST(TerminalText, CountsACharacterThatTheLocaleDoesNotKnowAsOne)
{
    ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
    EXPECT_EQ(TerminalText::columns("\xc3\x9c\xe6\x97\xa5"), 2U);
}

TEST(TerminalText, CountsColumnsNotBytes)
{
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(TerminalText::columns("disk"), 4U);
    EXPECT_EQ(TerminalText::columns("\xc3\x9c"
                                    "bung"),
              5U);
    EXPECT_EQ(TerminalText::columns("U\xcc\x88"
                                    "bung"),
              5U);                                                    // a combining mark takes none
    EXPECT_EQ(TerminalText::columns("\xe6\x97\xa5\xe6\x9c\xac"), 4U); // wide characters take two
}

} // namespace
