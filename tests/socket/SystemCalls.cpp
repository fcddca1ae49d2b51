#include "tests/socket/SystemCalls.h"

#include <cstring>

#include <netdb.h>
#include <sys/select.h>

namespace SystemCalls {
namespace {

Address copyOf(const sockaddr* address, socklen_t length)
{
    return {std::string(reinterpret_cast<const char*>(address), length)};
}

/// A host that has the recorded addresses; good until the next one.
hostent* hostOf(std::vector<std::string>& addresses)
{
    static std::vector<char*> list;
    static hostent host;
    list.clear();
    for (std::string& address : addresses) {
        list.push_back(address.data());
    }
    list.push_back(nullptr);
    host.h_addrtype = AF_INET;
    host.h_length = 4;
    host.h_addr_list = list.data();
    return &host;
}

} // namespace

sa_family_t Address::family() const
{
    sa_family_t family = AF_UNSPEC;
    std::memcpy(&family, bytes.data(), sizeof family);
    return family;
}

std::string Address::data() const
{
    std::string text = bytes.substr(sizeof(sa_family_t));
    text.erase(text.find_last_not_of('\0') + 1);
    return text;
}

Record& record()
{
    static Record calls;
    return calls;
}

void reset()
{
    record() = Record();
}

} // namespace SystemCalls

// The linker asks for exactly these names.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

int __real_select(int count, fd_set* reads, fd_set* writes, fd_set* exceptions, timeval* timeout);
ssize_t __real_recv(int fd, void* buffer, std::size_t size, int flags);
ssize_t __real_send(int fd, const void* bytes, std::size_t size, int flags);
int __real_bind(int fd, const sockaddr* address, socklen_t length);
int __real_connect(int fd, const sockaddr* address, socklen_t length);
hostent* __real_gethostbyname(const char* name);

int __wrap_select(int count, fd_set* reads, fd_set* writes, fd_set* exceptions, timeval* timeout)
{
    SystemCalls::record().selects.push_back(*timeout);
    return SystemCalls::record().answerSelects ? 0 : __real_select(count, reads, writes, exceptions, timeout);
}

ssize_t __wrap_recv(int fd, void* buffer, std::size_t size, int flags)
{
    SystemCalls::record().receives.push_back(size);
    SystemCalls::record().beforeReceive();
    return __real_recv(fd, buffer, size, flags);
}

ssize_t __wrap_send(int fd, const void* bytes, std::size_t size, int flags)
{
    SystemCalls::record().sends.push_back({size, flags});
    const ssize_t sent = __real_send(fd, bytes, size, flags);
    SystemCalls::record().afterSend();
    return sent;
}

int __wrap_bind(int fd, const sockaddr* address, socklen_t length)
{
    SystemCalls::record().binds.push_back(SystemCalls::copyOf(address, length));
    return SystemCalls::record().answerBinds ? 0 : __real_bind(fd, address, length);
}

int __wrap_connect(int fd, const sockaddr* address, socklen_t length)
{
    SystemCalls::record().connects.push_back(SystemCalls::copyOf(address, length));
    return SystemCalls::record().answerConnects ? 0 : __real_connect(fd, address, length);
}

hostent* __wrap_gethostbyname(const char* name)
{
    std::vector<std::string>& addresses = SystemCalls::record().addresses;
    return addresses.empty() ? __real_gethostbyname(name) : SystemCalls::hostOf(addresses);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
