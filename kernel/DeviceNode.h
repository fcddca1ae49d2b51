#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/// A block device node below /dev, made with the object and removed with it, and so are the directories that
/// had to be made for it. A node that was there before is never replaced, and one that somebody else put
/// there is not removed.
class DeviceNode
{
public:
    /// `name` is the path below /dev. Throws std::system_error; EEXIST: something is there
    /// already.
    DeviceNode(const std::string& name, dev_t number);
    ~DeviceNode();
    DeviceNode(const DeviceNode&) = delete;
    DeviceNode& operator=(const DeviceNode&) = delete;

    const std::string& path() const { return _path; }
    dev_t number() const { return _number; }

private:
    void makeDirectories();
    void removeDirectories();

    std::string _path;
    dev_t _number;
    std::vector<std::string> _madeDirectories;
};
