#include <gmock/gmock.h>

#include "log/LogText.h"
#include "tests/support/LogWatch.h"

using testing::ElementsAre;

namespace {

TEST(LogText, QuotesAValueAndEndsInOneBlank)
{
    LogText::debug(QStringLiteral("Device to add: /a"));
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("\"Device to add: /a\" "));
}

TEST(LogText, LeavesQuotesAndBackslashesAsTheyAre)
{
    LogText::debug(QStringLiteral("C:\\ \"x\" %s %1"));
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("\"C:\\ \"x\" %s %1\" "));
}

TEST(LogText, LeavesLettersOutsideAsciiAsTheyAre)
{
    LogText::debug(QString::fromUtf8("M\xc3\xbcsli \xe2\x82\xac"));
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("\"M\xc3\xbcsli \xe2\x82\xac\" "));
}

TEST(LogText, WritesALiteralWithoutQuotes)
{
    LogWatch::expect("Drives file NOT found! ");
    LogText::warningLiteral("Drives file NOT found!");
    EXPECT_THAT(LogWatch::messages(5), ElementsAre("Drives file NOT found! "));
}

TEST(LogText, WritesALabelThenABlankThenTheValue)
{
    LogText::debugLabelled("deviceMajor:           ", QStringLiteral("8"));
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("deviceMajor:            8 "));
}

TEST(LogText, ListsItemsInParentheses)
{
    EXPECT_EQ(LogText::list({}), QStringLiteral("()"));
    EXPECT_EQ(LogText::list({QStringLiteral("a"), QStringLiteral("b c")}),
              QStringLiteral("(\"a\", \"b c\")"));
}

TEST(LogText, LetsNoValueForgeALine)
{
    const QString forged = QStringLiteral("A\r\n<21.11.2026 00:00:00.000000> qDebug (7) B");
    LogText::debug(forged);
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("\"A\\r\\n<21.11.2026 00:00:00.000000> qDebug (7) B\" "));
}

TEST(LogText, EscapesEveryControlCharacter)
{
    QString text = QStringLiteral("a\tb");
    text += QChar(0x1b);
    text += QChar(0x00);
    text += QChar(0x7f);
    text += QChar(0x85);
    EXPECT_EQ(LogText::quoted(text), QStringLiteral("\"a\\tb\\x1b\\x00\\x7f\\x85\""));
}

} // namespace
