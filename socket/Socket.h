#pragma once

#include <string>
#include <vector>

#include <sys/socket.h>

#include "socket/SocketException.h"

namespace VORNA {

/// Owns one stream socket (Unix domain or IPv4): transfers bytes, sets time-outs, resolves names.
///
/// The operations call each other through the virtual slots, so an override of `shutdown` is honoured by
/// `close` and one of the time-out setters by `setTimeout`. The order of the virtual operations is part of
/// the interface.
///
/// A message has neither delimiter nor length: it is what arrives until a receive call returns less than a
/// full buffer of 10240 bytes. Every descriptor made here is close-on-exec. An object belongs to one thread
/// at a time.
class Socket
{
public:
    /// No socket: the descriptor is -1.
    Socket() = default;
    /// Adopts `descriptor`.
    explicit Socket(int descriptor);
    /// Adopts `descriptor`; the address family is that of `address`.
    Socket(int descriptor, sockaddr& address);
    /// Makes a socket of address family `family` (1 Unix, 2 IPv4) and `type` (1 stream). Throws
    /// SocketException.
    Socket(int family, int type);
    /// Shuts down and closes the socket. Never throws.
    virtual ~Socket();

    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    /// Sends all of `bytes`; `flags` go to send(2) unchanged, so without MSG_NOSIGNAL a peer that has gone
    /// raises the broken-pipe signal. Throws EInvalidSocket for descriptor 0, ESocketWrite.
    virtual void send(std::string bytes, unsigned int flags);
    /// Reads one message into `out` and returns its length; 0 when the peer closed first. Waits for more
    /// after exactly 10240 bytes. Throws EInvalidSocket for descriptor 0, ESocketRead (also when a time-out
    /// ends it).
    virtual unsigned int read(std::string& out);
    /// Reads `size` bytes (10240 for 0) into `out`, fewer only if the peer closes before; returns the length.
    /// Throws EInvalidSocket for descriptor 0, ESocketRead.
    virtual unsigned int read(std::string& out, unsigned int size);
    /// Shuts down both directions and closes; the descriptor is -1 afterwards. Failures are absorbed.
    virtual void close();
    /// `how` as for shutdown(2). Failures are absorbed.
    virtual void shutdown(int how);
    /// As `send` with flags 0.
    virtual Socket& operator<<(std::string text);
    /// As `send` of the decimal text of `number`.
    virtual Socket& operator<<(int number);
    /// As `read(out)`.
    virtual Socket& operator>>(std::string& out);
    /// Bounds each receive call to `microseconds`, 0 for no bound. Throws EInvalidSocket for descriptor 0,
    /// ESetReceiveTimeout.
    virtual void setReceiveTimeout(unsigned long microseconds);
    /// Bounds each send call likewise. Throws EInvalidSocket for descriptor 0, ESetSendTimeout.
    virtual void setSendTimeout(unsigned long microseconds);
    /// Both, sending first.
    virtual void setTimeout(unsigned long microseconds);

    /// The IPv4 addresses of `host`, each as four bytes in network order; empty when the name does not
    /// resolve.
    std::vector<std::string> getIPs(const std::string& host);

protected:
    int domain = AF_UNSPEC; ///< address family; stays unspecified when nothing names it
    int fd = -1;
};

} // namespace VORNA
