#include "drives/DeviceProperties.h"

#include <atomic>

#include <QDBusError>

#include "drives/UDisks.h"
#include "service/StopRequest.h"

namespace {

std::atomic<bool> leftUnanswered{false};

} // namespace

DeviceProperties::DeviceProperties(const QDBusObjectPath& device)
    : _proxy(UDisks::service(), device.path(), QDBusConnection::systemBus())
{
    _proxy.setTimeout(ReadTimeout);
}

QVariant DeviceProperties::read(const char* name) const
{
    if (StopRequest::isMade() && leftUnanswered) {
        return {};
    }
    QVariant value = _proxy.property(name);
    leftUnanswered = !value.isValid() && _proxy.lastError().type() == QDBusError::NoReply;
    return value;
}
