#pragma once

#include <QStringList>

namespace CommandLine {

/// Logs every argument, the program's path included, at the level in force before it, and sets the log's
/// level by those that hold "log=". At last logs the level.
void apply(const QStringList& arguments);

} // namespace CommandLine
