#include <array>
#include <cstdio>
#include <memory>

#include <gmock/gmock.h>

#include <QStringList>

#include "drives/ShellCommand.h"

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

QByteArray printedByTheShell(const QString& value)
{
    const QByteArray command = ShellCommand(QStringLiteral("printf '<%s>' %1"), value).line();
    // The shell is what is tested here. NOLINTNEXTLINE(cert-env33-c)
    const std::unique_ptr<FILE, int (*)(FILE*)> shell(popen(command.constData(), "r"), &pclose);
    std::array<char, 256> output{};
    const std::size_t length = fread(output.data(), 1, output.size(), shell.get());
    return {output.data(), static_cast<int>(length)};
}

TEST(ShellCommand, IsReadBackUnchangedByTheRealShell)
{
    const QStringList names = {
        QStringLiteral("A&B"),       QStringLiteral("$(reboot)"), QStringLiteral("`id`"),
        QStringLiteral("a'b"),       QStringLiteral("a\"b"),      QStringLiteral("a\nb"),
        QStringLiteral("a\\\nb"),    QStringLiteral("~root"),     QStringLiteral("*?[a]"),
        QStringLiteral("a;b|c>d<e"), QStringLiteral("#!$$"),      QStringLiteral("{a,b}"),
        QStringLiteral("''''"),      QStringLiteral("a\\"),       QStringLiteral("é€"),
        QStringLiteral("(x)"),
    };
    for (const QString& name : names) {
        EXPECT_EQ(printedByTheShell(name), "<" + name.toUtf8() + ">") << name.toStdString();
    }
    EXPECT_EQ(printedByTheShell(QStringLiteral("one $(two)")), QByteArray("<one><$(two)>"));
}

} // namespace
