#pragma once

#include <Poco/SharedPtr.h>

#include "socket/Socket.h"

namespace VORNA {

/// A socket that binds, listens, waits and accepts. An accepted connection is a ServerSocket too, without a
/// path; its `select` waits until there is something to read.
///
/// A socket bound to a path removes the socket file when it is closed or destroyed.
class ServerSocket : public Socket
{
public:
    /// Adopts an accepted connection; the address family is that of `address`.
    ServerSocket(int descriptor, sockaddr& address);
    /// As Socket(family, type).
    ServerSocket(int family, int type);
    /// As `close`. Never throws.
    ~ServerSocket() override;

    /// Also removes the socket file and anything that took its name since, other than a directory with
    /// content. Failures are absorbed.
    void close() override;

    /// Binds to the file `path`, replacing what is there unless it is a directory. Only the owner may connect
    /// (mode 0600 less the umask). A path has at most 14 bytes. Throws SocketBindingException; a path that is
    /// too long is refused before anything is touched.
    void bindUnix(const std::string& path);
    /// Binds to the first IPv4 address of `host`. Throws SocketBindingException, also when `host` does not
    /// resolve.
    void bindTCP(const std::string& host, unsigned int port);
    /// Binds "host:port" by TCP, anything without a colon as a Unix path. Throws SocketBindingException.
    void bind(const std::string& address);
    /// Throws SocketException.
    void listen(int backlog);
    /// Waits until a connection can be accepted (or bytes can be read): positive when so, 0 after the
    /// time-out, -1 on error, a descriptor that select(2) cannot hold included. The wait is longer than
    /// `milliseconds` from one second on: 100 waits 0.1 s, 1000 waits 2 s, 1500 waits 2.5 s.
    int select(int milliseconds);
    /// The accepted connection, shut down and closed when its last reference goes. Not checked: when
    /// accepting fails, the object has the descriptor -1 and its first transfer throws.
    Poco::SharedPtr<ServerSocket> accept();

private:
    void removeSocketFile() noexcept;

    std::string unixPath; ///< where `bindUnix` succeeded, else empty
    fd_set readSet{};
};

} // namespace VORNA
