#pragma once

#include <map>
#include <string>
#include <vector>

#include "kernel/Sysfs.h"
#include "provider/udev/BlockDevice.h"
#include "tests/support/TemporaryDirectory.h"

/// Devices from a file in the form of `udevadm info --export`, with a small tree of sysfs made from it:
///
///     P: /devices/.../sdb       begins a device
///     E: ID_BUS=usb             a property of udev's
///     A: size=7892992           an attribute in sysfs, by its path below the device, or below /sys with a
///     "/" first L: holders/dm-0=/devices/virtual/block/dm-0 = IdType: vfat            what is to be shown of
///     the device; all that is not empty
class RecordedMachine
{
public:
    /// `name` is that of a file in tests/provider/udev/devices, without ".txt". Several make one machine.
    explicit RecordedMachine(const std::vector<std::string>& names);

    Sysfs sysfs() const { return Sysfs(_directory.path()); }
    /// In the order of the files.
    const std::vector<BlockDevice>& devices() const { return _devices; }
    /// The one with this kernel name, with some of udev's properties others than recorded.
    BlockDevice device(const std::string& name, const BlockDevice::Properties& others = {}) const;
    /// The expected properties of the device with this kernel name, line by line, as the file lists them.
    std::vector<std::string> expected(const std::string& name) const { return _expected.at(name); }
    /// Writes an attribute, with its line feed, as the kernel does.
    void setAttribute(const std::string& path, const std::string& value) const;
    void link(const std::string& path, const std::string& target) const;
    void removeFromSysfs(const std::string& path) const;

    static std::vector<std::string> allNames();

private:
    void read(const std::string& name);
    void apply(const std::string& line);

    TemporaryDirectory _directory;
    std::string _path;
    std::map<std::string, BlockDevice::Properties> _properties;
    std::vector<std::string> _order;
    std::vector<BlockDevice> _devices;
    std::map<std::string, std::vector<std::string>> _expected;
};
