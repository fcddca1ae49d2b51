#pragma once

#include <string>

#include "process/ExitStatus.h"

/// `vrmountctl eject`.
namespace EjectCommand {

struct Result
{
    ExitStatus status = Done;
    std::string output;    ///< one line for standard output; empty: nothing
    std::string complaint; ///< one line for standard error; empty: nothing
};

/// Writes out, unmounts and removes the directories of what is mounted at `target`, a directory or a device
/// node, so that its medium may be pulled. Nothing is changed if anything of it is in use, or is not the
/// service's. `socket` is the service's.
Result run(const std::string& target, const std::string& socket);

} // namespace EjectCommand
