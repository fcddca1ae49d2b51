#include "socket/Socket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include <netdb.h>
#include <sys/time.h>
#include <unistd.h>

namespace VORNA {
namespace {

constexpr unsigned int MessageBuffer = 10240;
constexpr std::size_t Ipv4Length = 4;

/// Kept: only descriptor 0 is refused. -1 reaches the kernel, which answers with its own error.
void refuseDescriptorZero(int fd)
{
    if (fd == 0) {
        throw EInvalidSocket(fd);
    }
}

std::size_t receive(int fd, char* buffer, std::size_t size)
{
    const ssize_t count = recv(fd, buffer, size, 0);
    const int error = errno;
    if (count < 0) {
        throw ESocketRead("error while reading (" + std::to_string(error) + " : " + std::strerror(error) +
                          ")");
    }
    return static_cast<std::size_t>(count);
}

int setTimeoutOption(int fd, int option, unsigned long microseconds)
{
    constexpr unsigned long PerSecond = 1000000;
    timeval timeout{};
    timeout.tv_sec = static_cast<time_t>(microseconds / PerSecond);
    timeout.tv_usec = static_cast<suseconds_t>(microseconds % PerSecond);
    return setsockopt(fd, SOL_SOCKET, option, &timeout, sizeof timeout);
}

} // namespace

Socket::Socket(int descriptor)
    : fd(descriptor)
{
}

Socket::Socket(int descriptor, sockaddr& address)
    : domain(address.sa_family)
    , fd(descriptor)
{
}

Socket::Socket(int family, int type)
    : domain(family)
    , fd(::socket(family, type | SOCK_CLOEXEC, 0))
{
    const int error = errno;
    if (fd < 0) {
        throw SocketException("cannot create Socket (" + std::to_string(error) + ")");
    }
}

Socket::~Socket()
{
    if (fd >= 0) {
        ::shutdown(fd, SHUT_RDWR);
        ::close(fd);
    }
}

void Socket::send(std::string bytes, unsigned int flags)
{
    refuseDescriptorZero(fd);
    while (true) {
        // Kept: the flags go on as they are, so the broken-pipe signal is not suppressed.
        const ssize_t count = ::send(fd, bytes.data(), bytes.size(), static_cast<int>(flags));
        const int error = errno;
        if (count < 0) {
            throw ESocketWrite(std::string("error while sending (") + std::strerror(error) + ")");
        }
        const auto sent = static_cast<std::size_t>(count);
        if (sent >= bytes.size()) {
            return;
        }
        bytes.erase(0, sent);
    }
}

unsigned int Socket::read(std::string& out)
{
    out.clear();
    refuseDescriptorZero(fd);
    std::array<char, MessageBuffer> buffer;
    std::size_t count = 0;
    do {
        count = receive(fd, buffer.data(), buffer.size());
        out.append(buffer.data(), count);
        // Kept: a full buffer means that more is to come, so a message of exactly that size waits for more.
    } while (count == buffer.size());
    return static_cast<unsigned int>(out.size());
}

unsigned int Socket::read(std::string& out, unsigned int size)
{
    out.clear();
    refuseDescriptorZero(fd);
    const std::size_t wanted = size == 0 ? MessageBuffer : size;
    const std::unique_ptr<char[]> buffer(new char[wanted]);
    std::size_t count = 0;
    do {
        count = receive(fd, buffer.get(), wanted - out.size());
        out.append(buffer.get(), count);
    } while (count != 0 && out.size() < wanted);
    return static_cast<unsigned int>(out.size());
}

void Socket::close()
{
    if (fd >= 0) {
        shutdown(SHUT_RDWR);
        ::close(fd);
    }
    fd = -1;
}

void Socket::shutdown(int how)
{
    ::shutdown(fd, how);
}

Socket& Socket::operator<<(std::string text)
{
    send(std::move(text), 0);
    return *this;
}

Socket& Socket::operator<<(int number)
{
    send(std::to_string(number), 0);
    return *this;
}

Socket& Socket::operator>>(std::string& out)
{
    read(out);
    return *this;
}

void Socket::setReceiveTimeout(unsigned long microseconds)
{
    refuseDescriptorZero(fd);
    const int result = setTimeoutOption(fd, SO_RCVTIMEO, microseconds);
    if (result != 0) {
        throw ESetReceiveTimeout(result); // Kept: the result of the call, always -1, not the errno.
    }
}

void Socket::setSendTimeout(unsigned long microseconds)
{
    refuseDescriptorZero(fd);
    const int result = setTimeoutOption(fd, SO_SNDTIMEO, microseconds);
    if (result != 0) {
        throw ESetSendTimeout(result); // Kept: the result of the call, always -1, not the errno.
    }
}

void Socket::setTimeout(unsigned long microseconds)
{
    setSendTimeout(microseconds);
    setReceiveTimeout(microseconds);
}

std::vector<std::string> Socket::getIPs(const std::string& host)
{
    std::vector<std::string> addresses;
    const hostent* entry = gethostbyname(host.c_str());
    if (entry != nullptr) {
        for (char** address = entry->h_addr_list; *address != nullptr; ++address) {
            addresses.emplace_back(*address, Ipv4Length);
        }
    }
    return addresses;
}

} // namespace VORNA
