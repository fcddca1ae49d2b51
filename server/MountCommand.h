#pragma once

#include <QMap>
#include <QPair>
#include <QString>

#include "server/MountOptions.h"

/// One request of the command socket: a command word, then arguments that are pairs of key and value, as in
/// "remount:/media/C:=rw". A pure value; any text may be parsed, and nothing here throws or touches a file
/// system.
///
/// The arguments are held in the order of their keys, not in that of the request, and a key given twice has
/// the later value. A key or value that holds "=" or "|" cannot be expressed.
class MountCommand
{
public:
    enum Command : int
    {
        Invalid = -1,
        Mount = 1,
        Unmount = 2,
        Remount = 3,
        Bind = 4,
        Move = 5,
        DeviceReadOnly = 6,
    };

    /// Parses a request. An unknown word (words are case-sensitive) gives an invalid command without
    /// arguments, and a warning in the log.
    explicit MountCommand(const QString& text);
    MountCommand(Command command, const QMap<QString, QString>& arguments);
    virtual ~MountCommand();

    bool isValid() const;
    Command command() const;
    /// The first key; null when there are no arguments.
    QString argument() const;
    /// The first key and its value; two null strings when there are no arguments.
    QPair<QString, QString> argumentPair() const;
    QMap<QString, QString> arguments() const;
    /// The request line. A "|" follows each argument, the last one too; an invalid command has the word "".
    QString toString() const;

private:
    template<typename Word, typename Value>
    class CommandMap : public QMap<Word, Value>
    {
    public:
        using QMap<Word, Value>::QMap;
    };

    void parseArguments(const QString& text);
    void parseArgument(const QString& item);

    static const CommandMap<QString, Command> _s_cmdMap;
    static const QChar _s_delimCmd;
    static const QChar _s_delimArgs;
    static const QChar _s_delimKeyVal;

    Command _command = Invalid;
    QMap<QString, QString> _arguments;
};
