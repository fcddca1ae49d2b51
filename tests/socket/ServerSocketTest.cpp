#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <set>

#include <gmock/gmock.h>

#include <grp.h>
#include <netinet/in.h>
#include <sys/stat.h>

#include "socket/ClientSocket.h"
#include "socket/ServerSocket.h"
#include "tests/socket/SocketTesting.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using VORNA::ClientSocket;
using VORNA::ServerSocket;

namespace {

constexpr const char* Path = "vrmount";

class WithUmask
{
public:
    explicit WithUmask(mode_t mask)
        : _before(umask(mask))
    {
    }
    ~WithUmask() { umask(_before); }
    WithUmask(const WithUmask&) = delete;
    WithUmask& operator=(const WithUmask&) = delete;

private:
    mode_t _before;
};

/// Acts as a user and group that own nothing, for the life of the object.
class AsNobody
{
public:
    AsNobody()
        : _groups(static_cast<std::size_t>(getgroups(0, nullptr)))
    {
        getgroups(static_cast<int>(_groups.size()), _groups.data());
        EXPECT_EQ(setgroups(0, nullptr), 0);
        EXPECT_EQ(setegid(Nobody), 0);
        EXPECT_EQ(seteuid(Nobody), 0);
    }
    ~AsNobody()
    {
        EXPECT_EQ(seteuid(0), 0);
        EXPECT_EQ(setegid(0), 0);
        EXPECT_EQ(setgroups(_groups.size(), _groups.data()), 0);
    }
    AsNobody(const AsNobody&) = delete;
    AsNobody& operator=(const AsNobody&) = delete;

private:
    static constexpr uid_t Nobody = 65534;
    std::vector<gid_t> _groups;
};

mode_t modeOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    return status.st_mode;
}

std::set<int> openDescriptors()
{
    std::set<int> descriptors;
    for (int fd = 0; fd < 256; ++fd) {
        if (isOpen(fd)) {
            descriptors.insert(fd);
        }
    }
    return descriptors;
}

unsigned int portOf(int fd)
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    EXPECT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
    return ntohs(address.sin_port);
}

int connectErrno(const std::string& path)
{
    const std::string failure = failureOf([&] { ClientSocket(AF_UNIX, SOCK_STREAM).connect(path); });
    return failure.empty() ? 0 : std::stoi(failure.substr(failure.rfind(' ')));
}

class ServerSocketTest : public SocketDirectoryTest
{
protected:
    void listenAtPath()
    {
        server.bind(Path);
        server.listen(5);
    }

    Open<ServerSocket> server{AF_UNIX, SOCK_STREAM};
    const SystemCalls::Record& calls = SystemCalls::record();
};

} // namespace

TEST_F(ServerSocketTest, MakesASocketThatIsClosedOnExec)
{
    EXPECT_TRUE(isCloseOnExec(server.fd));
}

TEST_F(ServerSocketTest, BindsAPathWithSixteenBytesOfAddress)
{
    server.bind(Path);
    EXPECT_TRUE(fs::is_socket(Path));
    ASSERT_EQ(calls.binds.size(), 1U);
    EXPECT_EQ(calls.binds[0].bytes.size(), 16U);
    EXPECT_EQ(calls.binds[0].family(), AF_UNIX);
    EXPECT_EQ(calls.binds[0].data(), Path);
}

TEST_F(ServerSocketTest, BindsAPathOfFourteenBytes)
{
    const std::string path(14, 'p');
    server.bindUnix(path);
    EXPECT_TRUE(fs::is_socket(path));
}

TEST_F(ServerSocketTest, RefusesALongerPathBeforeAnythingIsTouched)
{
    const std::string path(15, 'p');
    std::ofstream(path) << "content";
    EXPECT_EQ(failureOf([&] { server.bindUnix(path); }),
              "SocketBindingException: error while binding " + path);
    EXPECT_TRUE(fs::is_regular_file(path));
    EXPECT_TRUE(calls.binds.empty());
}

TEST_F(ServerSocketTest, ReplacesAStaleSocketFile)
{
    {
        ServerSocket stale(AF_UNIX, SOCK_STREAM);
        stale.bind("stale");
        fs::rename("stale", Path);
    }
    ASSERT_TRUE(fs::is_socket(Path));
    listenAtPath();
    EXPECT_EQ(connectErrno(Path), 0);
}

TEST_F(ServerSocketTest, ReplacesAFileAndALinkButNotWhatItPointsTo)
{
    std::ofstream("target") << "content";
    fs::create_symlink("target", Path);
    server.bind(Path);
    EXPECT_TRUE(fs::is_socket(fs::symlink_status(Path)));
    EXPECT_TRUE(fs::is_regular_file("target"));

    ServerSocket second(AF_UNIX, SOCK_STREAM);
    second.bind("target");
    EXPECT_TRUE(fs::is_socket("target"));
}

TEST_F(ServerSocketTest, LeavesADirectoryAndReportsThatItCannotBind)
{
    fs::create_directory(Path);
    EXPECT_EQ(failureOf([&] { server.bind(Path); }), "SocketBindingException: error while binding vrmount");
    server.close();
    EXPECT_TRUE(fs::is_directory(Path));
}

TEST_F(ServerSocketTest, AdmitsTheOwnerOnlyWhateverTheUmask)
{
    for (const mode_t mask : {0U, 022U, 077U}) {
        const WithUmask masked(mask);
        ServerSocket socket(AF_UNIX, SOCK_STREAM);
        socket.bind(Path);
        EXPECT_EQ(modeOf(Path), S_IFSOCK | 0600U) << "umask " << mask;
    }
}

TEST_F(ServerSocketTest, TurnsAnotherUserAway)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can act as another user";
    }
    fs::permissions(".", fs::perms::owner_all | fs::perms::others_exec);
    const WithUmask none(0);
    listenAtPath();
    {
        const AsNobody nobody;
        EXPECT_EQ(connectErrno(Path), EACCES);
    }
    ASSERT_EQ(chmod(Path, 0666), 0);
    const AsNobody nobody;
    EXPECT_EQ(connectErrno(Path), 0) << "the mode alone is what turned the other user away";
}

TEST_F(ServerSocketTest, BindsHostAndPortByTcp)
{
    SystemCalls::record().answerBinds = true;
    ServerSocket(AF_INET, SOCK_STREAM).bind("127.0.0.1:80");
    ASSERT_EQ(calls.binds.size(), 1U);
    EXPECT_EQ(calls.binds[0].bytes.size(), 16U);
    EXPECT_EQ(calls.binds[0].family(), AF_INET);
    EXPECT_EQ(calls.binds[0].data(), std::string("\0\x50\x7f\0\0\x01", 6));
}

TEST_F(ServerSocketTest, NamesTheHostWithoutThePortWhenItCannotBind)
{
    Open<ServerSocket> first(AF_INET, SOCK_STREAM);
    first.bind("127.0.0.1:0");
    first.listen(1);
    ServerSocket second(AF_INET, SOCK_STREAM);
    const std::string address = "127.0.0.1:" + std::to_string(portOf(first.fd));
    EXPECT_EQ(failureOf([&] { second.bind(address); }),
              "SocketBindingException: error while binding 127.0.0.1");
}

TEST_F(ServerSocketTest, BindsToTheFirstAddressOfAHost)
{
    SystemCalls::record().addresses = {"\x0a\x02\x02\x02", "\x0a\x01\x01\x01"};
    SystemCalls::record().answerBinds = true;
    ServerSocket(AF_INET, SOCK_STREAM).bindTCP("host", 7000);
    ASSERT_EQ(calls.binds.size(), 1U);
    EXPECT_EQ(calls.binds[0].data(), "\x1b\x58\x0a\x02\x02\x02");
}

TEST_F(ServerSocketTest, ReportsAHostThatDoesNotResolveAsABindingFailure)
{
    ServerSocket tcp(AF_INET, SOCK_STREAM);
    EXPECT_EQ(failureOf([&] { tcp.bindTCP(UnknownHost, 80); }),
              "SocketBindingException: error while binding " + UnknownHost);
    EXPECT_TRUE(calls.binds.empty());
}

TEST_F(ServerSocketTest, ReportsThatItCannotListen)
{
    server.close();
    EXPECT_EQ(failureOf([&] { server.listen(5); }), "SocketException: error while starting to listen");
}

TEST_F(ServerSocketTest, DoesNotReduceTheMicrosecondsOfAWaitModuloOneSecond)
{
    struct Row
    {
        int milliseconds;
        long seconds;
        long microseconds;
    };
    const Row table[] = {
        {0, 0, 0},          {1, 0, 1000},       {100, 0, 100000},   {999, 0, 999000},
        {1000, 1, 1000000}, {1500, 1, 1500000}, {2000, 2, 2000000}, {2500000, 2500, 2500000000},
    };
    SystemCalls::record().answerSelects = true;
    for (const Row& row : table) {
        SystemCalls::record().selects.clear();
        server.select(row.milliseconds);
        ASSERT_EQ(calls.selects.size(), 1U);
        EXPECT_EQ(calls.selects[0].tv_sec, row.seconds) << row.milliseconds;
        EXPECT_EQ(calls.selects[0].tv_usec, row.microseconds) << row.milliseconds;
    }
}

TEST_F(ServerSocketTest, SelectWaitsForTheTimeOutAndNoLonger)
{
    listenAtPath();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(server.select(100), 0);
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, std::chrono::milliseconds(99));
    EXPECT_LT(waited, std::chrono::seconds(2));
}

TEST_F(ServerSocketTest, SelectSeesAConnectionThatWaits)
{
    listenAtPath();
    ClientSocket client(AF_UNIX, SOCK_STREAM);
    client.connect(Path);
    EXPECT_EQ(server.select(1000), 1);
}

TEST_F(ServerSocketTest, SelectFailsForADescriptorThatItsSetCannotHold)
{
    sockaddr address{};
    for (const int fd : {-1, FD_SETSIZE, FD_SETSIZE + 1000000}) {
        Open<ServerSocket> socket(fd, address);
        errno = EINTR;
        EXPECT_EQ(socket.select(0), -1) << fd;
        EXPECT_EQ(errno, EBADF) << fd;
        socket.fd = -1;
    }
    EXPECT_TRUE(calls.selects.empty());
}

TEST_F(ServerSocketTest, AnAcceptedConnectionWaitsForTheRequestWithSelect)
{
    listenAtPath();
    ClientSocket client(AF_UNIX, SOCK_STREAM);
    client.connect(Path);
    Poco::SharedPtr<ServerSocket> connection = server.accept();
    EXPECT_EQ(connection->select(0), 0);
    client << "request";
    EXPECT_EQ(connection->select(1000), 1);
    std::string request;
    *connection >> request;
    EXPECT_EQ(request, "request");
}

TEST_F(ServerSocketTest, AnAcceptedConnectionIsClosedOnExec)
{
    listenAtPath();
    ClientSocket client(AF_UNIX, SOCK_STREAM);
    client.connect(Path);
    const std::set<int> before = openDescriptors();
    Poco::SharedPtr<ServerSocket> connection = server.accept();
    for (const int fd : openDescriptors()) {
        if (before.count(fd) == 0) {
            EXPECT_TRUE(isCloseOnExec(fd));
        }
    }
    EXPECT_EQ(openDescriptors().size(), before.size() + 1);
}

TEST_F(ServerSocketTest, AnAcceptedConnectionIsClosedWithItsLastReferenceAndRemovesNothing)
{
    listenAtPath();
    ClientSocket client(AF_UNIX, SOCK_STREAM);
    client.connect(Path);
    const std::size_t before = openDescriptors().size();
    Poco::SharedPtr<ServerSocket> connection = server.accept();
    EXPECT_EQ(connection.referenceCount(), 1);
    Poco::SharedPtr<ServerSocket> second = connection;
    connection = nullptr;
    EXPECT_EQ(openDescriptors().size(), before + 1);
    second = nullptr;
    EXPECT_EQ(openDescriptors().size(), before);
    std::string reply;
    EXPECT_EQ(client.read(reply), 0U);
    EXPECT_TRUE(fs::is_socket(Path));
}

TEST_F(ServerSocketTest, AcceptIsNotCheckedSoThatTheFirstTransferReports)
{
    Poco::SharedPtr<ServerSocket> connection = server.accept();
    ASSERT_FALSE(connection.isNull());
    std::string request;
    EXPECT_EQ(failureOf([&] { connection->read(request); }), "ESocketRead: error while reading (" +
                                                                 std::to_string(EBADF) + " : " +
                                                                 std::strerror(EBADF) + ")");
}

TEST_F(ServerSocketTest, ExchangesMessagesOverTcp)
{
    Open<ServerSocket> tcp(AF_INET, SOCK_STREAM);
    tcp.bind("127.0.0.1:0");
    tcp.listen(5);
    ClientSocket client(AF_INET, SOCK_STREAM);
    client.connect("127.0.0.1:" + std::to_string(portOf(tcp.fd)));
    ASSERT_EQ(tcp.select(1000), 1);
    Poco::SharedPtr<ServerSocket> connection = tcp.accept();
    client << "remount:/media/C:=rw";
    ASSERT_EQ(connection->select(1000), 1);
    std::string text;
    *connection >> text;
    EXPECT_EQ(text, "remount:/media/C:=rw");
    *connection << "DONE";
    connection = nullptr;
    EXPECT_EQ(client.read(text, 100), 4U);
    EXPECT_EQ(text, "DONE");
}

TEST_F(ServerSocketTest, ClosingRemovesTheSocketFile)
{
    listenAtPath();
    server.close();
    EXPECT_FALSE(fs::exists(Path));
    EXPECT_EQ(server.fd, -1);
}

TEST_F(ServerSocketTest, ClosingTwiceRemovesTheFileOfTheFirstTimeOnly)
{
    listenAtPath();
    server.close();
    std::ofstream(Path) << "of somebody else";
    server.close();
    EXPECT_TRUE(fs::exists(Path));
}

TEST_F(ServerSocketTest, DestroyingRemovesTheSocketFile)
{
    {
        ServerSocket socket(AF_UNIX, SOCK_STREAM);
        socket.bind(Path);
    }
    EXPECT_FALSE(fs::exists(Path));
}

TEST_F(ServerSocketTest, ClosingRemovesAnEmptyDirectoryThatTookTheName)
{
    server.bind(Path);
    fs::remove(Path);
    fs::create_directory(Path);
    server.close();
    EXPECT_FALSE(fs::exists(Path));
}

TEST_F(ServerSocketTest, ClosingRemovesALinkToNothingThatTookTheName)
{
    server.bind(Path);
    fs::remove(Path);
    fs::create_symlink("nothing", Path);
    server.close();
    EXPECT_FALSE(fs::is_symlink(Path));
}

TEST_F(ServerSocketTest, DestroyingLeavesWhatCannotBeRemovedAndDoesNotThrow)
{
    {
        ServerSocket socket(AF_UNIX, SOCK_STREAM);
        socket.bind(Path);
        fs::remove(Path);
        fs::create_directories(std::string(Path) + "/content");
    }
    EXPECT_TRUE(fs::is_directory(Path));
}

TEST_F(ServerSocketTest, ClosingHonoursAnOverrideOfShutdown)
{
    class Recording : public ServerSocket
    {
    public:
        using ServerSocket::ServerSocket;
        void shutdown(int how) override { directions.push_back(how); }
        std::vector<int> directions;
    };
    Recording socket(AF_UNIX, SOCK_STREAM);
    socket.close();
    EXPECT_THAT(socket.directions, ElementsAre(SHUT_RDWR));
}
