#include "provider/DeviceSource.h"

#include <algorithm>

#include <QDBusObjectPath>

DeviceSource::DeviceSource()
{
    // Without this no two values that hold a path are equal.
    if (!QMetaType::hasRegisteredComparators<QDBusObjectPath>()) {
        QMetaType::registerComparators<QDBusObjectPath>();
    }
}

const Device* DeviceSource::find(const QString& objectPath) const
{
    const std::vector<const Device*> all = devices();
    const auto match = std::find_if(all.begin(), all.end(),
                                    [&](const Device* device) { return device->objectPath == objectPath; });
    return match != all.end() ? *match : nullptr;
}
