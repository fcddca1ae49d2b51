#include <gtest/gtest.h>

#include "socket/SocketAddress.h"

using VORNA::firstAddress;
using VORNA::hostAndPort;

TEST(SocketAddress, AColonDistinguishesTcpFromAPath)
{
    struct Row
    {
        const char* text;
        const char* host;
        unsigned int port;
    };
    const Row table[] = {
        {"127.0.0.1:7000", "127.0.0.1", 7000},
        {"localhost: 80", "localhost", 80},
        {"host:80/path", "host", 80},
        {"host:80:90", "host", 80},
        {"host:", "host", 0},
        {"host:http", "host", 0},
        {":1", "", 1},
        {":", "", 0},
        {"/tmp/a:b", "/tmp/a", 0},
    };
    for (const Row& row : table) {
        const auto address = hostAndPort(row.text);
        ASSERT_TRUE(address) << row.text;
        EXPECT_EQ(address->host, row.host) << row.text;
        EXPECT_EQ(address->port, row.port) << row.text;
    }
    EXPECT_FALSE(hostAndPort("/tmp/vrmount"));
    EXPECT_FALSE(hostAndPort(""));
}

TEST(SocketAddress, TheFirstAddressAndThePortStandInNetworkOrder)
{
    const auto address = firstAddress(AF_INET, {"\x0a\x01\x02\x03", "\x0a\x01\x02\x04"}, 0x1234);
    ASSERT_TRUE(address);
    EXPECT_EQ(address->sin_family, AF_INET);
    EXPECT_EQ(ntohs(address->sin_port), 0x1234);
    EXPECT_EQ(ntohl(address->sin_addr.s_addr), 0x0a010203U);
}

TEST(SocketAddress, TheFamilyIsThatOfTheSocket)
{
    const auto address = firstAddress(AF_UNIX, {"\x0a\x01\x02\x03"}, 80);
    ASSERT_TRUE(address);
    EXPECT_EQ(address->sin_family, AF_UNIX);
}

TEST(SocketAddress, WithoutAnAddressThereIsNone)
{
    EXPECT_FALSE(firstAddress(AF_INET, {}, 80));
}
