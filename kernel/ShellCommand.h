#pragma once

#include <QByteArray>
#include <QString>

/// A command for the shell, made from a form such as "ntfs-3g %1 %2" and the values for its placeholders.
///
/// The log shows the plain text. The shell gets the same text with every character of the values that is
/// special to it made literal, so a file system labelled "A&B" or "$(reboot)" is a name and never a command.
/// Blanks stay as they are: a value with blanks is several words for the shell.
class ShellCommand
{
public:
    template<typename... Values>
    explicit ShellCommand(const QString& form, const Values&... values)
        : _text(form.arg(values...))
        , _line(form.arg(literal(values)...))
    {
    }

    /// As the log shows it.
    const QString& text() const { return _text; }
    /// As the shell gets it, in the encoding of file names.
    QByteArray line() const;

    /// `value` as the shell reads it back unchanged, except that blanks separate words.
    static QString literal(const QString& value);

private:
    QString _text;
    QString _line;
};
