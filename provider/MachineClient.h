#pragma once

#include <string>

#include <QDBusConnection>

#include "process/ExitStatus.h"
#include "provider/CommandLine.h"

/// The command form of org.vorna.vrudisks.Machine.
namespace MachineClient {

struct Outcome
{
    ExitStatus status = ExitStatus::Done;
    std::string message; ///< one line for the user unless done
};

/// Has the machine that is served on `bus` plug, pull or change the device that `line` names.
Outcome carryOut(const CommandLine& line, const QDBusConnection& bus);

} // namespace MachineClient
