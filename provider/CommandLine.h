#pragma once

#include <string>

#include <QString>
#include <QStringList>

#include "provider/today/Rules.h"

/// The command that the arguments of `vrudisks` ask for.
struct CommandLine
{
    enum class Action
    {
        Serve,
        Explain,
        Plug,
        Unplug,
        Set,
        ShowHelp,
        ShowVersion,
    };

    Action action = Action::Serve;
    std::string machineFile; ///< empty: the machine itself
    Rules::Selection rules;  ///< those that are applied to its devices
    QString node;            ///< the device to explain; empty: all
    QString section;
    QString key;
    QString value;

    /// `arguments` without the program's name. Throws UsageError.
    static CommandLine parse(const QStringList& arguments);

    static std::string help();
};
