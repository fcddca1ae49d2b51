#pragma once

#include <functional>

#include <QString>

#include "provider/CommandLine.h"

/// The devices of this machine, or of a simulated one, served on the system bus.
namespace ServeCommand {

/// Serves until a signal ends it or the bus is lost. Messages for the user go to `note`, line by line.
/// Returns the exit status. Throws std::runtime_error when there is no system bus or no such machine.
int run(const CommandLine& line, const std::function<void(const QString& text)>& note);

} // namespace ServeCommand
