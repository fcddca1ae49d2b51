#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/// The node of a block device.
struct BlockNode
{
    std::string path;
    dev_t number = 0;
};

namespace BlockNodes {

/// Those in a directory, not in those below it, in natural order: sda2 before sda10.
std::vector<BlockNode> in(const std::string& directory = "/dev");
/// The number of the device that `path`, a node or a link to one, stands for; 0 if it is anything else. Looks
/// at the path's file system, which may hang.
dev_t numberOf(const std::string& path);

} // namespace BlockNodes
