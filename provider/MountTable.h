#pragma once

#include <sys/types.h>

#include <QString>
#include <QStringList>

/// Where a device is mounted, read from the kernel's table at every call.
namespace MountTable {

/// The mount points of the whole file system (binds of a part of it do not count) on the device with this
/// number, in descending byte order. File systems over several devices show a number of their own: btrfs is
/// recognised by the node that it was mounted from. No number (0), or no table that
/// can be read: empty.
QStringList mountPaths(dev_t number, const QString& deviceFile, const char* table = "/proc/self/mountinfo");

} // namespace MountTable
