#pragma once

#include <functional>

#include <QString>

/// Where drives maps are looked for, see drives.ini(5).
namespace MapFiles {

/// Each directory below this one holds the root of a file system.
constexpr const char* Mounts = "/mounts";

/// The first map below `mounts` that is wanted, in the service's order; empty when there is none. Symbolic
/// links are never followed: on a foreign disk they could lead anywhere.
QString first(const QString& mounts, const std::function<bool(const QString& path)>& isWanted);

} // namespace MapFiles
