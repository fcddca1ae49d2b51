#pragma once

#include <optional>
#include <vector>

#include <QStringList>

#include "kernel/Sysfs.h"
#include "provider/udev/ShownDevices.h"
#include "provider/udev/Udev.h"

/// Makes shown devices of what udev and the kernel know.
class DeviceReader
{
public:
    DeviceReader(const Udev& udev, Sysfs sysfs);

    /// Whether the kernel still has it.
    bool isThere(const BlockDevice& block) const;
    /// Whether nothing says that it would be shown otherwise now: neither udev nor the size of its medium.
    /// That takes a small part of the time of `read`.
    bool isUnchanged(const ShownDevice& known, const BlockDevice& now) const;
    /// Nothing for what is not shown, and for a device that udev has not dealt with.
    std::optional<ShownDevice> read(const BlockDevice& block) const;
    /// The names of those that will be shown when udev has dealt with them.
    QStringList unfinished(const std::vector<BlockDevice>& blocks) const;

private:
    qulonglong sizeOf(const BlockDevice& block) const;
    bool isFinished(const BlockDevice& block) const;

    const Udev& _udev;
    Sysfs _sysfs;
    qlonglong _bootTime;
};
