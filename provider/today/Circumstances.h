#pragma once

#include <map>
#include <vector>

#include <QString>

#include "kernel/RescueMedium.h"
#include "provider/Device.h"

/// The facts that the rules use beside the devices themselves.
struct Circumstances
{
    RescueMedium medium;
    /// The names in use, by object path: a name stays the same for as long as the device is there.
    std::map<QString, QString> names;

    /// As they are before anything has been presented. The names are those under which devices are mounted,
    /// so that a provider that starts again gives everybody the same one.
    static Circumstances of(const std::vector<Mount>& mounts, const BlockStack& blocks,
                            const std::vector<const Device*>& devices);
};
