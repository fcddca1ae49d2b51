#pragma once

#include <optional>
#include <vector>

#include <QObject>

#include "provider/udev/BlockDevice.h"

/// The block devices that udev knows and announces.
class Udev : public QObject
{
    Q_OBJECT

public:
    struct Event
    {
        enum class Kind
        {
            None, ///< there is no other for now
            Came, ///< new, or announced as new once more
            Changed,
            Gone,
            Lost, ///< at least one announcement did not fit into the socket's buffer
        };

        Kind kind = Kind::None;
        BlockDevice device;
    };

    /// Whether there is a udev that will announce anything.
    virtual bool isRunning() const = 0;
    /// Whether it has dealt with everything that it knows of.
    virtual bool isIdle() const = 0;
    /// The directory in sysfs of every block device, disks before their partitions.
    virtual std::vector<std::string> directories() const = 0;
    /// The record in udev's database for the device with this directory; nothing if it has gone.
    virtual std::optional<BlockDevice> deviceIn(const std::string& directory) const = 0;
    /// Every block device, in the order of the directories.
    std::vector<BlockDevice> devices() const;
    /// The next announcement.
    virtual Event receive() = 0;

Q_SIGNALS:
    /// There are announcements to receive.
    void announced();
    /// The last work in udev's queue is done.
    void settled();
};
