#include "socket/SocketAddress.h"

#include <cstring>
#include <sstream>

namespace VORNA {

std::optional<HostAndPort> hostAndPort(const std::string& address)
{
    const std::size_t colon = address.find(':');
    if (colon == std::string::npos) {
        return std::nullopt;
    }
    HostAndPort result{address.substr(0, colon), 0};
    std::istringstream(address.substr(colon + 1)) >> result.port;
    return result;
}

std::optional<sockaddr_in> firstAddress(int domain, const std::vector<std::string>& addresses,
                                        unsigned int port)
{
    if (addresses.empty()) {
        return std::nullopt;
    }
    sockaddr_in address{};
    address.sin_family = static_cast<sa_family_t>(domain);
    address.sin_port = htons(static_cast<in_port_t>(port));
    std::memcpy(&address.sin_addr, addresses.front().data(), sizeof address.sin_addr);
    return address;
}

} // namespace VORNA
