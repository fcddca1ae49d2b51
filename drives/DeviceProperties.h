#pragma once

#include <QDBusObjectPath>
#include <QString>
#include <QStringList>

#include "QDBusUDisksDeviceProxy.h"

/// Reads the properties of one UDisks device, each from the service at the time of the call.
///
/// A property that cannot be read, that has another type than the interface says or whose answer takes longer
/// than `ReadTimeout` counts as empty, false or 0. Once a stop was asked for nothing is asked any more, and
/// every property counts so: look at StopRequest before acting on what was read. Nothing throws. Belongs to
/// the thread that makes it.
class DeviceProperties
{
public:
    static constexpr int ReadTimeout = 4000; ///< milliseconds; a stop must end the service within ten seconds

    explicit DeviceProperties(const QDBusObjectPath& device);

    /// The device's object path.
    QString path() const { return _proxy.path(); }

    QString text(const char* name) const { return read(name).toString(); }
    QStringList list(const char* name) const { return read(name).toStringList(); }
    bool flag(const char* name) const { return read(name).toBool(); }
    qint64 number(const char* name) const { return read(name).toLongLong(); }
    quint64 size(const char* name) const { return read(name).toULongLong(); }

    bool isPartitionOfScsiDisk() const;
    /// Whether it holds a file system and is none of the machine's own devices.
    bool isExternal() const;
    /// The name of an external file system: its label, or its UUID when it has none.
    QString labelOrUuid() const;

private:
    QVariant read(const char* name) const;

    QDBusUDisksDeviceProxy _proxy;
};
