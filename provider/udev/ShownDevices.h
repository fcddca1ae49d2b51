#pragma once

#include <vector>

#include <QStringList>

#include "provider/udev/AnnouncedDevice.h"
#include "provider/udev/UdevDevice.h"

/// A device as udev knows it, and as it is shown.
struct ShownDevice
{
    BlockDevice block;
    qulonglong size; ///< the kernel's, in units of 512 bytes
    UdevDevice shown;

    const QString& path() const { return shown.device.objectPath; }
    AnnouncedDevice announced() const { return AnnouncedDevice::of(block, shown.device); }
};

/// The announced devices, in the order of enumeration.
class ShownDevices
{
public:
    /// Null if there is none; valid until the next change.
    const ShownDevice* find(const QString& objectPath) const;
    /// Adds it, or replaces the one with its object path.
    void put(const ShownDevice& device);
    void remove(const QString& objectPath);

    /// The object paths of a disk's partitions, the last one first.
    QStringList partitionsOf(const BlockDevice& disk) const;
    std::vector<const Device*> devices() const;
    std::vector<AnnouncedDevice> announced() const;

private:
    std::vector<ShownDevice> _devices;
};
