#pragma once

#include "provider/BusCall.h"

class DeviceSource;

/// The objects of UDisks 1 over the devices of a source: the daemon, the node that lists the devices, and one
/// object a device.
class DeviceTree
{
public:
    explicit DeviceTree(const DeviceSource& source);

    /// What is answered to a call for any path.
    BusReply answer(const BusCall& call) const;

private:
    const DeviceSource& _source;
};
