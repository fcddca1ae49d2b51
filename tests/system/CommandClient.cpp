#include "tests/system/CommandClient.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/system/Service.h"

namespace {

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

CommandClient::CommandClient()
    : _socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    Paths::CommandSocket.copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        close(_socket);
        fail("connect");
    }
}

CommandClient::~CommandClient()
{
    close(_socket);
}

void CommandClient::enlargeBuffer() const
{
    const int size = 212992; // the kernel doubles it
    setsockopt(_socket, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
}

void CommandClient::send(const std::string& bytes) const
{
    const ssize_t sent = ::send(_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(bytes.size())) {
        fail("send");
    }
}

void CommandClient::endRequest() const
{
    shutdown(_socket, SHUT_WR);
}

std::string CommandClient::reply() const
{
    std::array<char, 4096> buffer = {};
    std::string result;
    for (;;) {
        const ssize_t received = recv(_socket, buffer.data(), buffer.size(), 0);
        if (received < 0) {
            fail("recv");
        }
        if (received == 0) {
            return result;
        }
        result.append(buffer.data(), static_cast<std::size_t>(received));
    }
}

std::string ask(const std::string& request)
{
    const CommandClient client;
    client.send(request);
    return client.reply();
}
