#include <array>
#include <cstdio>
#include <memory>

#include <gmock/gmock.h>

#include <QRegularExpression>
#include <QStringList>

#include "kernel/ShellCommand.h"

namespace {

TEST(ShellCommand, GivesTheShellThePlainTextWhenNothingInItIsSpecial)
{
    const ShellCommand command(QStringLiteral("ntfs-3g %1 %2"), QStringLiteral("/dev/sda2"),
                               QStringLiteral("/media/C:"));
    EXPECT_EQ(command.text(), QStringLiteral("ntfs-3g /dev/sda2 /media/C:"));
    EXPECT_EQ(command.line(), QByteArray("ntfs-3g /dev/sda2 /media/C:"));
}

TEST(ShellCommand, ShowsThePlainTextOfAHostileNameAndMakesItLiteralForTheShell)
{
    const ShellCommand command(QStringLiteral("ntfs-3g %1 %2"), QStringLiteral("/dev/sdb1"),
                               QStringLiteral("/media/A&B"));
    EXPECT_EQ(command.text(), QStringLiteral("ntfs-3g /dev/sdb1 /media/A&B"));
    EXPECT_EQ(command.line(), QByteArray("ntfs-3g /dev/sdb1 '/media/A&B'"));
}

TEST(ShellCommand, SubstitutesOncePerPlaceholderEvenWhenAValueLooksLikeOne)
{
    const ShellCommand command(QStringLiteral("ntfs-3g %1 %2"), QStringLiteral("/dev/%2"),
                               QStringLiteral("/media/%1"));
    EXPECT_EQ(command.text(), QStringLiteral("ntfs-3g /dev/%2 /media/%1"));
}

TEST(ShellCommand, LeavesBlanksSoThatANameWithBlanksIsSeveralWords)
{
    EXPECT_EQ(ShellCommand::literal(QStringLiteral("/media/USB DISK")), QStringLiteral("/media/USB DISK"));
    EXPECT_EQ(ShellCommand::literal(QStringLiteral("a; b")), QStringLiteral("'a;' b"));
    EXPECT_EQ(ShellCommand::literal(QString()), QString());
}

/// The words that the shell is to make of a value: the value itself, but for its blanks.
QList<QByteArray> wordsOf(const QString& value)
{
    QList<QByteArray> result;
    for (const QString& word :
         value.split(QRegularExpression(QStringLiteral("[ \t]+")), Qt::SkipEmptyParts)) {
        result.append(word.toUtf8());
    }
    return result;
}

/// The output of a real shell that runs `script`.
QByteArray printedByTheShell(const QByteArray& script)
{
    // The shell is what is tested here. NOLINTNEXTLINE(cert-env33-c)
    const std::unique_ptr<FILE, int (*)(FILE*)> shell(popen(script.constData(), "r"), &pclose);
    QByteArray result;
    std::array<char, 4096> output{};
    while (const std::size_t length = fread(output.data(), 1, output.size(), shell.get())) {
        result.append(output.data(), static_cast<int>(length));
    }
    return result;
}

/// One command for each value, whose number of words and words the shell prints, each ended by NUL.
void expectReadBackUnchanged(const QStringList& values)
{
    QByteArray script = "show() { printf '%s\\0' \"$#\" \"$@\"; }\n";
    QByteArray expected;
    for (const QString& value : values) {
        script += ShellCommand(QStringLiteral("show %1"), value).line() + '\n';
        const QList<QByteArray> words = wordsOf(value);
        expected += QByteArray::number(words.size()) + '\0';
        for (const QByteArray& word : words) {
            expected += word + '\0';
        }
    }
    EXPECT_EQ(printedByTheShell(script), expected);
}

/// `form` with each of the characters 1 to 255 in place of "%1".
QStringList withEveryCharacter(const char* form)
{
    QStringList result;
    for (ushort code = 1; code <= 255; ++code) {
        result.append(QString::fromLatin1(form).replace(QLatin1String("%1"), QString(QChar(code))));
    }
    return result;
}

TEST(ShellCommand, IsReadBackUnchangedByTheRealShellWhereverACharacterStands)
{
    for (const char* form : {"%1", "%1ab", "ab%1", "a%1b", "%1 b", "a %1", "a%1 b", "a %1b", "a %1 b", "%1%1",
                             "a%1\tb", "a\t%1b", " %1", "%1 "}) {
        SCOPED_TRACE(form);
        expectReadBackUnchanged(withEveryCharacter(form));
    }
}

TEST(ShellCommand, IsReadBackUnchangedByTheRealShellWhateverTwoCharactersMeet)
{
    const QString special = QStringLiteral(" \t\n\r\x7f!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~a0");
    for (const char* form : {"%1", "x%1 y"}) {
        SCOPED_TRACE(form);
        for (const QChar first : special) {
            QStringList values;
            for (const QChar second : special) {
                const QString pair = QString(first) + second;
                values.append(QString::fromLatin1(form).replace(QLatin1String("%1"), pair));
            }
            expectReadBackUnchanged(values);
        }
    }
}

TEST(ShellCommand, NeverRunsAPartOfAName)
{
    expectReadBackUnchanged({QStringLiteral("x\n echo INJECTED"), QStringLiteral("x\n\techo INJECTED"),
                             QStringLiteral("$(echo INJECTED)"), QStringLiteral("`echo INJECTED`"),
                             QStringLiteral("a\\\nb"), QStringLiteral("{a,b}"), QStringLiteral("''''"),
                             QStringLiteral("one $(two)"), QStringLiteral("x;echo INJECTED"),
                             QStringLiteral("x' ; echo INJECTED '"), QStringLiteral("é€")});
}

} // namespace
