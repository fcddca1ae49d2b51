#include <cerrno>
#include <fstream>
#include <utility>

#include <gmock/gmock.h>

#include <netinet/in.h>
#include <sys/un.h>

#include "socket/ClientSocket.h"
#include "tests/socket/SocketTesting.h"

using VORNA::ClientSocket;

namespace {

/// Listens at `path`, which may fill a Unix address to its last byte.
class UnixListener
{
public:
    explicit UnixListener(const std::string& path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path);
        EXPECT_EQ(bind(_fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(_fd, 1), 0);
        SystemCalls::reset();
    }
    ~UnixListener() { close(_fd); }
    UnixListener(const UnixListener&) = delete;
    UnixListener& operator=(const UnixListener&) = delete;

    bool hasClient() const
    {
        const int client = accept4(_fd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (client >= 0) {
            close(client);
        }
        return client >= 0;
    }

private:
    int _fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
};

/// A TCP port of the loopback that is taken, though nobody listens there.
class SilentPort
{
public:
    SilentPort()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        EXPECT_EQ(bind(_fd, reinterpret_cast<sockaddr*>(&address), length), 0);
        EXPECT_EQ(getsockname(_fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
        _port = ntohs(address.sin_port);
    }
    ~SilentPort() { close(_fd); }
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;

    unsigned int port() const { return _port; }

private:
    int _fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    unsigned int _port = 0;
};

class ClientSocketTest : public SocketDirectoryTest
{
protected:
    ClientSocket client{AF_UNIX, SOCK_STREAM};
    const SystemCalls::Record& calls = SystemCalls::record();
};

} // namespace

TEST_F(ClientSocketTest, StartsWithoutASocket)
{
    EXPECT_EQ(Open<ClientSocket>().fd, -1);
}

TEST_F(ClientSocketTest, MakesASocketThatIsClosedOnExec)
{
    EXPECT_TRUE(isCloseOnExec(Open<ClientSocket>(AF_INET, SOCK_STREAM).fd));
}

TEST_F(ClientSocketTest, ConnectsToAPathWithTheWholeUnixAddress)
{
    const UnixListener listener("vrmount");
    client.connect("vrmount");
    EXPECT_TRUE(listener.hasClient());
    ASSERT_EQ(calls.connects.size(), 1U);
    EXPECT_EQ(calls.connects[0].bytes.size(), 110U);
    EXPECT_EQ(calls.connects[0].family(), AF_UNIX);
    EXPECT_EQ(calls.connects[0].data(), "vrmount");
}

TEST_F(ClientSocketTest, ConnectsToAPathWithTheFamilyOfTheSocket)
{
    SystemCalls::record().answerConnects = true;
    ClientSocket(AF_INET, SOCK_STREAM).connect("vrmount");
    ASSERT_EQ(calls.connects.size(), 1U);
    EXPECT_EQ(calls.connects[0].family(), AF_INET);
}

TEST_F(ClientSocketTest, ConnectsToThePathThatFillsTheAddress)
{
    const std::string path(108, 'p');
    const UnixListener listener(path);
    client.connect(path);
    EXPECT_TRUE(listener.hasClient());
}

TEST_F(ClientSocketTest, RefusesAPathThatTheAddressCannotHold)
{
    const std::string path(109, 'p');
    EXPECT_EQ(failureOf([&] { client.connect(path); }),
              "SocketConnectingException: error while connecting: " + path +
                  " errno: " + std::to_string(ENAMETOOLONG));
    EXPECT_TRUE(calls.connects.empty());
}

TEST_F(ClientSocketTest, ReportsAPathThatNobodyListensAt)
{
    EXPECT_EQ(failureOf([&] { client.connect("missing"); }),
              "SocketConnectingException: error while connecting: missing errno: " + std::to_string(ENOENT));
}

TEST_F(ClientSocketTest, CarriesTheNumberOfAConnectingFailure)
{
    for (const auto& [path, error] : {std::pair(std::string("missing"), ENOENT),
                                      {std::string("missing/below a 7"), ENOENT},
                                      {std::string("file"), ECONNREFUSED},
                                      {std::string(109, 'p'), ENAMETOOLONG}}) {
        std::ofstream("file").flush();
        try {
            client.connect(path);
            FAIL() << path;
        } catch (const VORNA::SocketConnectingException& exception) {
            EXPECT_EQ(exception.error(), error) << path;
        }
    }
}

TEST_F(ClientSocketTest, ConnectUnixConnectsWithTheWholeUnixAddress)
{
    const UnixListener listener("vrmount");
    client.connectUnix("vrmount");
    EXPECT_TRUE(listener.hasClient());
    ASSERT_EQ(calls.connects.size(), 1U);
    EXPECT_EQ(calls.connects[0].bytes.size(), 110U);
}

TEST_F(ClientSocketTest, ConnectUnixReportsNothing)
{
    EXPECT_NO_THROW(client.connectUnix("missing"));
    EXPECT_NO_THROW(client.connectUnix(std::string(109, 'p')));
    EXPECT_EQ(calls.connects.size(), 1U);
}

TEST_F(ClientSocketTest, ReportsThatNobodyListensAtAPort)
{
    const SilentPort silent;
    const std::string address = "127.0.0.1:" + std::to_string(silent.port());
    ClientSocket tcp(AF_INET, SOCK_STREAM);
    EXPECT_EQ(failureOf([&] { tcp.connect(address); }),
              "SocketConnectingException: error while connecting: " + address +
                  " errno: " + std::to_string(ECONNREFUSED));
    EXPECT_EQ(tcp.connectTCP("127.0.0.1", silent.port()), -1);
}

TEST_F(ClientSocketTest, ReportsAHostThatDoesNotResolveAsAConnectingFailure)
{
    ClientSocket tcp(AF_INET, SOCK_STREAM);
    const std::string address = UnknownHost + ":80";
    EXPECT_EQ(failureOf([&] { tcp.connect(address); }),
              "SocketConnectingException: error while connecting: " + address +
                  " errno: " + std::to_string(EHOSTUNREACH));
    EXPECT_EQ(tcp.connectTCP(UnknownHost, 80), -1);
    EXPECT_EQ(errno, EHOSTUNREACH);
    EXPECT_TRUE(calls.connects.empty());
}

TEST_F(ClientSocketTest, ConnectsToHostAndPortByTcp)
{
    SystemCalls::record().answerConnects = true;
    ClientSocket(AF_INET, SOCK_STREAM).connect("127.0.0.2: 7000x");
    ASSERT_EQ(calls.connects.size(), 1U);
    EXPECT_EQ(calls.connects[0].bytes.size(), 16U);
    EXPECT_EQ(calls.connects[0].family(), AF_INET);
    EXPECT_EQ(calls.connects[0].data(), std::string("\x1b\x58\x7f\0\0\x02", 6));
}

TEST_F(ClientSocketTest, ConnectsToTheFirstAddressOfAHost)
{
    SystemCalls::record().addresses = {"\x0a\x02\x02\x02", "\x0a\x01\x01\x01"};
    SystemCalls::record().answerConnects = true;
    EXPECT_EQ(ClientSocket(AF_INET, SOCK_STREAM).connectTCP("host", 7000), 0);
    ASSERT_EQ(calls.connects.size(), 1U);
    EXPECT_EQ(calls.connects[0].data(), "\x1b\x58\x0a\x02\x02\x02");
}
