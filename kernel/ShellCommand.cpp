#include "kernel/ShellCommand.h"

#include <QFile>
#include <QRegularExpression>

namespace {

bool isPlain(const QString& run)
{
    static const QRegularExpression plain(QStringLiteral("\\A[A-Za-z0-9_./:=,@%+-]*\\z"));
    return plain.match(run).hasMatch();
}

/// Single quotes, because a backslash before a line feed would join two lines instead of keeping the line
/// feed.
QString singleQuoted(QString run)
{
    run.replace(QLatin1Char('\''), QLatin1String("'\\''"));
    return QLatin1Char('\'') + run + QLatin1Char('\'');
}

bool isBlank(QChar character)
{
    return character == QLatin1Char(' ') || character == QLatin1Char('\t');
}

} // namespace

QByteArray ShellCommand::line() const
{
    return QFile::encodeName(_line);
}

// Kept: blanks are not quoted. A mount directory with a blank in its name has always been two words for the
// driver, and such an NTFS file system is reported as not mounted.
QString ShellCommand::literal(const QString& value)
{
    QString result;
    int at = 0;
    while (at < value.size()) {
        const int start = at;
        const bool blank = isBlank(value.at(at));
        while (at < value.size() && isBlank(value.at(at)) == blank) {
            ++at;
        }
        const QString run = value.mid(start, at - start);
        result += blank || isPlain(run) ? run : singleQuoted(run);
    }
    return result;
}
