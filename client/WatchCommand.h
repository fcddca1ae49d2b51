#pragma once

#include "client/CommandLine.h"
#include "process/ExitStatus.h"

/// `vrmountctl list --watch`.
namespace WatchCommand {

/// Shows the list anew whenever it changes, until a signal ends it: on a terminal as a page, elsewhere one
/// list after the other, as tables or as lines of JSON.
ExitStatus run(const Invocation& invocation, bool hasColours);

} // namespace WatchCommand
