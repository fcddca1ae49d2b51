#include "kernel/DeviceNode.h"

#include <cerrno>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

#include "kernel/FileTree.h"

namespace {

const std::string Root = "/dev/";

} // namespace

DeviceNode::DeviceNode(const std::string& name, dev_t number)
    : _path(Root + name)
    , _number(number)
{
    makeDirectories();
    if (mknod(_path.c_str(), S_IFBLK | 0660, number) != 0) {
        const int error = errno;
        removeDirectories();
        throw std::system_error(error, std::generic_category(), "cannot make " + _path);
    }
}

DeviceNode::~DeviceNode()
{
    struct stat found = {};
    if (lstat(_path.c_str(), &found) == 0 && S_ISBLK(found.st_mode) && found.st_rdev == _number) {
        unlink(_path.c_str());
    }
    removeDirectories();
}

void DeviceNode::makeDirectories()
{
    for (size_t end = _path.find('/', Root.size()); end != std::string::npos;
         end = _path.find('/', end + 1)) {
        const std::string directory = _path.substr(0, end);
        if (FileTree::makeDirectory(directory.c_str(), 0755)) {
            _madeDirectories.push_back(directory);
        }
    }
}

void DeviceNode::removeDirectories()
{
    for (auto directory = _madeDirectories.rbegin(); directory != _madeDirectories.rend(); ++directory) {
        FileTree::removeDirectory(directory->c_str());
    }
}
