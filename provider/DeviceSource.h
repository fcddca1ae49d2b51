#pragma once

#include <vector>

#include <QObject>
#include <QString>

#include "provider/Device.h"

/// The source of the devices that the provider shows.
///
/// The signals are handled before the call that emits them returns, so a device can be read while its arrival
/// or its end is announced.
class DeviceSource : public QObject
{
    Q_OBJECT

public:
    DeviceSource();

    /// Begins to look for devices; `ready` follows when the first look is over, at once or much later. Throws
    /// std::runtime_error, with one line for the user, if that can never be.
    virtual void start() = 0;

    /// The devices there are now, in the order of enumeration. The pointers hold until the event loop runs
    /// again.
    virtual std::vector<const Device*> devices() const = 0;
    /// The device with this object path, or null.
    const Device* find(const QString& objectPath) const;

Q_SIGNALS:
    /// Emitted once. Devices that are there by then are never announced as added, except after a restart: the
    /// difference between two runs is announced right after this signal, and `removed` can then name a device
    /// that this run never had.
    void ready();
    /// The device is complete and can be read.
    void added(const QString& objectPath);
    void changed(const QString& objectPath);
    /// The device is going; it can still be read.
    void removed(const QString& objectPath);
};
