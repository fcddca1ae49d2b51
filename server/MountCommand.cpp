#include "server/MountCommand.h"

#include <QStringList>

#include "log/LogText.h"
#include "log/Trace.h"

const MountCommand::CommandMap<QString, MountCommand::Command> MountCommand::_s_cmdMap{
    {QStringLiteral("mount"), Mount},     {QStringLiteral("unmount"), Unmount},
    {QStringLiteral("remount"), Remount}, {QStringLiteral("bind"), Bind},
    {QStringLiteral("move"), Move},       {QStringLiteral("devicero"), DeviceReadOnly},
};
const QChar MountCommand::_s_delimCmd = QLatin1Char(':');
const QChar MountCommand::_s_delimArgs = QLatin1Char('|');
const QChar MountCommand::_s_delimKeyVal = QLatin1Char('=');

MountCommand::MountCommand(const QString& text)
{
    VORNA_TRACE();
    const QString request = text.trimmed();
    const QStringList parts = request.split(_s_delimCmd, Qt::SkipEmptyParts);
    const QString word = parts.value(0);
    _command = _s_cmdMap.value(word, Invalid);
    if (!isValid()) {
        LogText::warning(QStringLiteral("Command not found: %1").arg(word));
        return;
    }
    if (parts.size() > 1) {
        // Kept: counted from the start of the line, not from the word, so "::remount:a=b" has the arguments
        // "t:a=b".
        parseArguments(request.mid(word.length() + 1));
    }
}

MountCommand::MountCommand(Command command, const QMap<QString, QString>& arguments)
    : _command(command)
    , _arguments(arguments)
{
    VORNA_TRACE();
}

MountCommand::~MountCommand()
{
    VORNA_TRACE();
}

bool MountCommand::isValid() const
{
    VORNA_TRACE();
    return _command != Invalid;
}

MountCommand::Command MountCommand::command() const
{
    VORNA_TRACE();
    return _command;
}

QString MountCommand::argument() const
{
    VORNA_TRACE();
    return _arguments.isEmpty() ? QString() : _arguments.firstKey();
}

QPair<QString, QString> MountCommand::argumentPair() const
{
    VORNA_TRACE();
    if (_arguments.isEmpty()) {
        return {};
    }
    return {_arguments.firstKey(), _arguments.first()};
}

QMap<QString, QString> MountCommand::arguments() const
{
    VORNA_TRACE();
    return _arguments;
}

QString MountCommand::toString() const
{
    VORNA_TRACE();
    QString text = _s_cmdMap.key(_command, QLatin1String(""));
    if (!_arguments.isEmpty()) {
        text += _s_delimCmd;
    }
    for (auto argument = _arguments.cbegin(); argument != _arguments.cend(); ++argument) {
        text += argument.key();
        if (!argument.value().isEmpty()) {
            text += _s_delimKeyVal + argument.value();
        }
        text += _s_delimArgs; // Kept: after the last argument too; the parser drops the empty item.
    }
    return text;
}

void MountCommand::parseArguments(const QString& text)
{
    const QStringList items = text.split(_s_delimArgs, Qt::SkipEmptyParts);
    for (const QString& item : items) {
        parseArgument(item.trimmed());
    }
}

/// "key" or "key=value". Kept: only the item as a whole is trimmed, and pieces after the second are dropped.
/// An item without any piece is skipped.
void MountCommand::parseArgument(const QString& item)
{
    const QStringList pieces = item.split(_s_delimKeyVal, Qt::SkipEmptyParts);
    if (!pieces.isEmpty()) {
        _arguments.insert(pieces.first(), pieces.value(1, QLatin1String("")));
    }
}
