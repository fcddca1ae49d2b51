#include "kernel/Descriptor.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>

Descriptor openFile(const std::string& path, int flags, const std::string& complaint)
{
    Descriptor descriptor(open(path.c_str(), flags | O_CLOEXEC));
    const int error = errno;
    if (!descriptor.isOpen()) {
        throw std::system_error(error, std::generic_category(), complaint + ' ' + path);
    }
    return descriptor;
}
