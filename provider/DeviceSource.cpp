#include "provider/DeviceSource.h"

#include <algorithm>

const Device* DeviceSource::find(const QString& objectPath) const
{
    const std::vector<const Device*> all = devices();
    const auto match = std::find_if(all.begin(), all.end(),
                                    [&](const Device* device) { return device->objectPath == objectPath; });
    return match != all.end() ? *match : nullptr;
}
