#pragma once

#include <string>

#include "client/CommandLine.h"
#include "process/ExitStatus.h"

/// The commands of `vrmountctl`: results go to standard output, complaints to standard error.
namespace Commands {

/// Throws what the command throws: Poco::Exception, std::exception.
ExitStatus carryOut(const Invocation& invocation);

/// One line, with nothing in it that could act on a terminal.
void complain(const std::string& line);

} // namespace Commands
