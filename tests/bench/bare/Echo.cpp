// Sends each client's request back and hangs up: the least that a server on a Unix socket does. "bare_echo
// PATH"
#include <array>
#include <cstdio>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

int listenAt(const char* path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isBound = bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    return isBound && listen(listener, SOMAXCONN) == 0 ? listener : -1;
}

void serve(int client)
{
    std::array<char, 4096> buffer = {};
    const ssize_t received = recv(client, buffer.data(), buffer.size(), 0);
    if (received > 0) {
        send(client, buffer.data(), static_cast<std::size_t>(received), MSG_NOSIGNAL);
    }
    close(client);
}

} // namespace

int main(int argc, char** argv)
{
    const int listener = argc == 2 ? listenAt(argv[1]) : -1;
    if (listener < 0) {
        std::perror("bare_echo");
        return 1;
    }
    for (;;) {
        serve(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    }
}
