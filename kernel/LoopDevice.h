#pragma once

#include <memory>
#include <string>

#include "kernel/Descriptor.h"
#include "kernel/DeviceNode.h"

/// A disk image attached to a loop device of the kernel, with a node of its own below /dev.
///
/// The kernel gives the loop device up by itself as soon as nobody holds it: when this object (or its
/// process, however that ends) and the last mount are gone.
class LoopDevice
{
public:
    /// `node` is the path below /dev. Throws std::system_error: the image cannot be opened for reading and
    /// writing, the node exists (EEXIST), or the kernel refuses.
    LoopDevice(const std::string& image, const std::string& node);

    dev_t number() const { return _node->number(); }

private:
    bool attach(dev_t number, const Descriptor& image, const std::string& node);

    std::unique_ptr<DeviceNode> _node;
    Descriptor _device;
};
