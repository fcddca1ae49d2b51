#pragma once

#include "socket/Socket.h"

namespace VORNA {

/// A socket that connects.
class ClientSocket : public Socket
{
public:
    /// No socket: the descriptor is -1.
    ClientSocket() = default;
    /// As Socket(family, type).
    ClientSocket(int family, int type);
    ~ClientSocket() override;

    /// Connects to the Unix socket at `path`. Reports nothing, whatever happens; a path of more than 108
    /// bytes, which no Unix address holds, connects to nothing. `connect` is the operation that reports.
    void connectUnix(const std::string& path);
    /// Connects to the first IPv4 address of `host` and returns the result of connect(2): 0, or -1 with errno
    /// set. A host that does not resolve gives -1 with EHOSTUNREACH.
    int connectTCP(const std::string& host, unsigned int port);
    /// Connects to "host:port" by TCP, to anything without a colon as a Unix path. Throws
    /// SocketConnectingException with the address and the errno; a path that no Unix address holds has
    /// ENAMETOOLONG.
    void connect(const std::string& address);

private:
    int connectPath(const std::string& path) const;
};

} // namespace VORNA
