#pragma once

#include <stdexcept>
#include <string>

#include <QString>
#include <QStringList>

/// The arguments make no sense; what() is one line for people.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What the arguments of `vrudisks` ask for.
struct CommandLine
{
    enum class Action
    {
        Serve,        ///< the devices of this machine
        ServeMachine, ///< those of `machineFile`
        Plug,
        Unplug,
        Set,
        ShowHelp,
        ShowVersion,
    };

    Action action = Action::Serve;
    bool showsTrueMajor = false;
    std::string machineFile;
    QString section;
    QString key;
    QString value;

    /// `arguments` without the program's name. Throws UsageError.
    static CommandLine parse(QStringList arguments);

    static const char* const HELP;
};
