#pragma once

#include <optional>
#include <string>
#include <vector>

#include <netinet/in.h>

/// Addresses of the socket library, as text and as the kernel takes them. Nothing here throws of its own.
namespace VORNA {

struct HostAndPort
{
    std::string host;
    unsigned int port = 0;
};

/// Takes an address text apart. A colon selects TCP: the host stands before the first one, the port is the
/// decimal number after it (0 if there is none). A text without a colon is a Unix-domain path and gives
/// nothing; a path that contains a colon cannot be expressed.
std::optional<HostAndPort> hostAndPort(const std::string& address);

/// The first of `addresses` (four bytes each, network order) with `port`, of which the lower 16 bits count;
/// nothing when there is no address.
std::optional<sockaddr_in> firstAddress(int domain, const std::vector<std::string>& addresses,
                                        unsigned int port);

} // namespace VORNA
