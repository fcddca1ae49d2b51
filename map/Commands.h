#pragma once

#include <string>

#include "map/CommandLine.h"

/// What the program does, and what it says.
namespace Commands {

/// Returns the exit status. Throws std::runtime_error with one line for the user.
int carryOut(const Invocation& invocation);

/// Writes "vrdrivesmap: ..." to standard error, harmless for a terminal.
void complain(const std::string& sentence);

} // namespace Commands
