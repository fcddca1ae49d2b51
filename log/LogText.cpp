#include "log/LogText.h"

#include <QDebug>

#include "log/Trace.h"

namespace LogText {
namespace {

QString escaped(QChar character)
{
    switch (character.unicode()) {
    case '\n':
        return QStringLiteral("\\n");
    case '\r':
        return QStringLiteral("\\r");
    case '\t':
        return QStringLiteral("\\t");
    default:
        return QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
    }
}

QString withoutControlCharacters(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (const QChar character : text) {
        if (character.category() == QChar::Other_Control) {
            result += escaped(character);
        } else {
            result += character;
        }
    }
    return result;
}

/// The framework's stream as the log needs it: nothing added, nothing escaped, nothing dropped.
QDebug bare(QDebug stream)
{
    return stream.nospace().noquote();
}

constexpr QLatin1Char Quote('"');
constexpr QLatin1Char Blank(' ');

} // namespace

QString quoted(const QString& text)
{
    return Quote + withoutControlCharacters(text) + Quote;
}

QString list(const QStringList& items)
{
    QStringList quotedItems;
    for (const QString& item : items) {
        quotedItems += quoted(item);
    }
    return QLatin1Char('(') + quotedItems.join(QStringLiteral(", ")) + QLatin1Char(')');
}

bool takesDebug()
{
    return g_dbgR->loglevel() >= Vorna::Debug;
}

void debug(const QString& text)
{
    bare(qDebug()) << quoted(text) << Blank;
}

void warning(const QString& text)
{
    bare(qWarning()) << quoted(text) << Blank;
}

void debugLabelled(const char* label, const QString& value)
{
    bare(qDebug()) << label << Blank << value << Blank;
}

void warningLiteral(const char* literal)
{
    bare(qWarning()) << literal << Blank;
}

} // namespace LogText
