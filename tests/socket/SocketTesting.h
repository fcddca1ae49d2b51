#pragma once

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "socket/SocketException.h"
#include "tests/socket/SystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

/// A host that is refused without asking any name server.
inline const std::string UnknownHost = "256.256.256.256";

/// Opens the protected parts of a socket to the test that owns it.
template<typename Base>
class Open : public Base
{
public:
    using Base::Base;
    using Base::domain;
    using Base::fd;
};

/// Two connected stream sockets. The test takes the first as its own (a socket object adopts and closes it)
/// and plays the other side with the second.
class ConnectedPair
{
public:
    ConnectedPair() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, _fds), 0); }
    ~ConnectedPair() { closePeer(); }
    ConnectedPair(const ConnectedPair&) = delete;
    ConnectedPair& operator=(const ConnectedPair&) = delete;

    int mine() const { return _fds[0]; }
    int peer() const { return _fds[1]; }

    void peerSends(const std::string& bytes) const
    {
        EXPECT_EQ(write(peer(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    /// The bytes that have arrived at the other side, without waiting.
    std::string arrived() const
    {
        std::string bytes(std::size_t{1} << 20U, '\0');
        const ssize_t count = recv(peer(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return bytes;
    }

    void closePeer()
    {
        if (_fds[1] >= 0) {
            close(_fds[1]);
        }
        _fds[1] = -1;
    }

private:
    int _fds[2] = {-1, -1};
};

/// A test that works with relative paths in a directory of its own: a socket path has room for 14 bytes only.
class SocketDirectoryTest : public testing::Test
{
protected:
    SocketDirectoryTest()
        : _before(std::filesystem::current_path())
    {
        std::filesystem::current_path(_directory.path());
        SystemCalls::reset();
    }
    ~SocketDirectoryTest() override
    {
        SystemCalls::reset();
        std::filesystem::current_path(_before);
    }

private:
    TemporaryDirectory _directory;
    std::filesystem::path _before;
};

/// The exception of `operation`, as "name: message"; empty when it throws nothing.
template<typename Operation>
std::string failureOf(Operation operation)
{
    try {
        operation();
    } catch (const VORNA::Exception& exception) {
        return exception.name() + ": " + exception.message();
    }
    return {};
}

inline bool isCloseOnExec(int fd)
{
    return (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
}

inline bool isOpen(int fd)
{
    return fcntl(fd, F_GETFD) >= 0;
}
