#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The kernel's view of the Unix-domain sockets of this network namespace. Nobody connects to find out: a
/// client that leaves without a request ends the service.
namespace UnixSockets {

/// The inode numbers of the sockets that listen at `path`.
std::vector<std::string> listenersAt(const std::string& path);

inline bool somebodyListensAt(const std::string& path)
{
    return !listenersAt(path).empty();
}

/// How many connections to `path` are accepted, and not closed yet.
std::size_t acceptedAt(const std::string& path);

} // namespace UnixSockets
