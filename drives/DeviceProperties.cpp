#include "drives/DeviceProperties.h"

#include "interfaces/UDisks.h"
#include "process/StopRequest.h"

namespace {

constexpr qint64 ScsiDiskMajor = 8;

} // namespace

DeviceProperties::DeviceProperties(const QDBusObjectPath& device)
    : _proxy(UDisks::service(), device.path(), QDBusConnection::systemBus())
{
    _proxy.setTimeout(ReadTimeout);
}

bool DeviceProperties::isPartitionOfScsiDisk() const
{
    return number("DeviceMajor") == ScsiDiskMajor && flag("DeviceIsPartition");
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
