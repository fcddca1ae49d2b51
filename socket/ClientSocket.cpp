#include "socket/ClientSocket.h"

#include <cerrno>
#include <cstring>

#include <sys/un.h>

#include "socket/SocketAddress.h"

namespace VORNA {

ClientSocket::ClientSocket(int family, int type)
    : Socket(family, type)
{
}

ClientSocket::~ClientSocket() = default;

void ClientSocket::connectUnix(const std::string& path)
{
    // Kept: unlike `connect`, this reports nothing; the first transfer does.
    connectPath(path);
}

int ClientSocket::connectTCP(const std::string& host, unsigned int port)
{
    const std::optional<sockaddr_in> address = firstAddress(domain, getIPs(host), port);
    if (!address) {
        errno = EHOSTUNREACH;
        return -1;
    }
    return ::connect(fd, reinterpret_cast<const sockaddr*>(&*address), sizeof *address);
}

void ClientSocket::connect(const std::string& address)
{
    const std::optional<HostAndPort> tcp = hostAndPort(address);
    const int result = tcp ? connectTCP(tcp->host, tcp->port) : connectPath(address);
    const int error = errno;
    if (result < 0) {
        throw SocketConnectingException(
            "error while connecting: " + address + " errno: " + std::to_string(error), error);
    }
}

int ClientSocket::connectPath(const std::string& path) const
{
    sockaddr_un address{};
    if (path.size() > sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    address.sun_family = static_cast<sa_family_t>(domain);
    std::memcpy(address.sun_path, path.data(), path.size());
    return ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

} // namespace VORNA
