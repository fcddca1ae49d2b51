#pragma once

#include "provider/BusCall.h"

class DeviceSource;
class MountTable;

/// The objects of UDisks 1 over the devices of a source: the daemon, the node that lists the devices, and one
/// object per device.
class DeviceTree
{
public:
    /// `mounts` is asked where the devices are mounted.
    DeviceTree(const DeviceSource& source, MountTable& mounts);

    /// The answer to a call for any path.
    BusReply answer(const BusCall& call) const;

private:
    const DeviceSource& _source;
    MountTable& _mounts;
};
