#include "drives/DeviceProperties.h"

#include "interfaces/ScsiDisks.h"
#include "interfaces/UDisks.h"
#include "process/StopRequest.h"

DeviceProperties::DeviceProperties(const QDBusObjectPath& device)
    : _proxy(UDisks::service(), device.path(), QDBusConnection::systemBus())
{
    _proxy.setTimeout(ReadTimeout);
}

bool DeviceProperties::isPartitionOfScsiDisk() const
{
    return number("DeviceMajor") == ScsiDisks::FirstMajor && flag("DeviceIsPartition");
}

bool DeviceProperties::isExternal() const
{
    return !flag("DeviceIsSystemInternal") && text("IdUsage") == QLatin1String("filesystem");
}

QString DeviceProperties::labelOrUuid() const
{
    const QString label = text("IdLabel");
    return label.isEmpty() ? text("IdUuid") : label;
}

QVariant DeviceProperties::read(const char* name) const
{
    return StopRequest::isMade() ? QVariant() : _proxy.property(name);
}
