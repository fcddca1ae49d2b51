#pragma once

#include <QStringList>

/// The pid file decides in which of its two roles the program runs: without one it only launches the service,
/// with one it is the service. Kept: nobody checks whether the process that a pid file names is alive.
namespace Launcher {

/// Whether there is no pid file.
bool isNeeded();

/// Starts the service as a detached copy of this program with the same arguments, `arguments` without the
/// first, and leaves its process id in the pid file. Returns the launcher's exit status. Writes nothing to
/// the log.
int launch(const QStringList& arguments);

void removePidFile();

} // namespace Launcher
