#include "tests/bench/Exchange.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

ssize_t checked(ssize_t result, const char* what)
{
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

void connectTo(const std::string& path, int client)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    checked(connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address), "connect");
}

std::string received(int client)
{
    std::array<char, 4096> buffer = {};
    std::string result;
    while (const ssize_t length = checked(recv(client, buffer.data(), buffer.size(), 0), "recv")) {
        result.append(buffer.data(), static_cast<std::size_t>(length));
    }
    return result;
}

class Client
{
public:
    Client()
        : _socket(static_cast<int>(checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")))
    {
    }
    ~Client() { close(_socket); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    int get() const { return _socket; }

private:
    int _socket;
};

} // namespace

std::string exchange(const std::string& path, const std::string& request)
{
    const Client client;
    connectTo(path, client.get());
    checked(send(client.get(), request.data(), request.size(), MSG_NOSIGNAL), "send");
    return received(client.get());
}
