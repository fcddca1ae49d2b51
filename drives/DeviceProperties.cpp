#include "drives/DeviceProperties.h"

#include "interfaces/UDisks.h"
#include "process/StopRequest.h"

DeviceProperties::DeviceProperties(const QDBusObjectPath& device)
    : _proxy(UDisks::service(), device.path(), QDBusConnection::systemBus())
{
    _proxy.setTimeout(ReadTimeout);
}

QVariant DeviceProperties::read(const char* name) const
{
    return StopRequest::isMade() ? QVariant() : _proxy.property(name);
}
