#include "tests/support/UnixSockets.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace UnixSockets {
namespace {

struct Socket
{
    bool isListening = false;
    std::string inode; ///< "0": a connection that is not accepted yet
};

/// A connection stands under the path of the socket that it was made to.
std::vector<Socket> socketsAt(const std::string& path)
{
    constexpr unsigned long Listening = 0x10000;
    std::ifstream table("/proc/net/unix");
    std::vector<Socket> result;
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string address, references, protocol, flags, type, state, inode, boundTo;
        fields >> address >> references >> protocol >> flags >> type >> state >> inode >> boundTo;
        if (boundTo == path) {
            result.push_back({(std::strtoul(flags.c_str(), nullptr, 16) & Listening) != 0, inode});
        }
    }
    return result;
}

} // namespace

std::vector<std::string> listenersAt(const std::string& path)
{
    std::vector<std::string> inodes;
    for (const Socket& socket : socketsAt(path)) {
        if (socket.isListening) {
            inodes.push_back(socket.inode);
        }
    }
    return inodes;
}

std::size_t acceptedAt(const std::string& path)
{
    const std::vector<Socket> all = socketsAt(path);
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [](const Socket& socket) {
        return !socket.isListening && socket.inode != "0";
    }));
}

} // namespace UnixSockets
