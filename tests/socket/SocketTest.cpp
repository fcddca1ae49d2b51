#include <cstring>
#include <optional>

#include <gmock/gmock.h>

#include "socket/Socket.h"
#include "tests/socket/SocketTesting.h"

using testing::ElementsAre;
using VORNA::Socket;

namespace {

constexpr std::size_t FullBuffer = 10240;

/// Puts `fd` in the place of descriptor 0 for the life of the object.
class InPlaceOfDescriptorZero
{
public:
    explicit InPlaceOfDescriptorZero(int fd)
        : _before(fcntl(0, F_DUPFD_CLOEXEC, 3))
    {
        EXPECT_EQ(dup2(fd, 0), 0);
    }
    ~InPlaceOfDescriptorZero()
    {
        close(0);
        if (_before >= 0) {
            dup2(_before, 0);
            close(_before);
        }
    }
    InPlaceOfDescriptorZero(const InPlaceOfDescriptorZero&) = delete;
    InPlaceOfDescriptorZero& operator=(const InPlaceOfDescriptorZero&) = delete;

private:
    int _before;
};

/// Writes down which operations reach its virtual slots.
class RecordingSocket : public Socket
{
public:
    using Socket::Socket;

    void send(std::string bytes, unsigned int flags) override
    {
        calls.push_back("send " + bytes + " " + std::to_string(flags));
    }
    unsigned int read(std::string& out) override
    {
        calls.emplace_back("read");
        out = "text";
        return 4;
    }
    using Socket::read;
    void shutdown(int how) override { calls.push_back("shutdown " + std::to_string(how)); }
    void setReceiveTimeout(unsigned long us) override { calls.push_back("receive " + std::to_string(us)); }
    void setSendTimeout(unsigned long us) override { calls.push_back("send " + std::to_string(us)); }

    std::vector<std::string> calls;
};

class SocketTest : public SocketDirectoryTest
{
protected:
    ConnectedPair pair;
    Open<Socket> socket{pair.mine()};
    std::string out = "what stood here before";
};

timeval timeoutOf(int fd, int option)
{
    timeval timeout{};
    socklen_t size = sizeof timeout;
    EXPECT_EQ(getsockopt(fd, SOL_SOCKET, option, &timeout, &size), 0);
    return timeout;
}

void expectTimeout(const timeval& timeout, long seconds, long microseconds)
{
    EXPECT_EQ(timeout.tv_sec, seconds);
    EXPECT_EQ(timeout.tv_usec, microseconds);
}

#if defined(__x86_64__)
/// Where a virtual operation stands behind the two destructor entries of the table.
template<typename Operation>
std::size_t slotOf(Operation operation)
{
    std::size_t offset = 0;
    static_assert(sizeof operation >= sizeof offset);
    std::memcpy(&offset, &operation, sizeof offset);
    return (offset - 1) / sizeof(void*) - 2;
}
#endif

} // namespace

TEST(SocketClass, HasItsVirtualOperationsInTheirOrder)
{
#if defined(__x86_64__)
    EXPECT_EQ(slotOf(&Socket::send), 0U);
    EXPECT_EQ(slotOf<unsigned int (Socket::*)(std::string&)>(&Socket::read), 1U);
    EXPECT_EQ((slotOf<unsigned int (Socket::*)(std::string&, unsigned int)>(&Socket::read)), 2U);
    EXPECT_EQ(slotOf(&Socket::close), 3U);
    EXPECT_EQ(slotOf(&Socket::shutdown), 4U);
    EXPECT_EQ(slotOf<Socket& (Socket::*)(std::string)>(&Socket::operator<<), 5U);
    EXPECT_EQ(slotOf<Socket& (Socket::*)(int)>(&Socket::operator<<), 6U);
    EXPECT_EQ(slotOf(&Socket::operator>>), 7U);
    EXPECT_EQ(slotOf(&Socket::setReceiveTimeout), 8U);
    EXPECT_EQ(slotOf(&Socket::setSendTimeout), 9U);
    EXPECT_EQ(slotOf(&Socket::setTimeout), 10U);
#else
    GTEST_SKIP() << "how a pointer to a virtual operation looks is known here for x86-64 only";
#endif
}

TEST(SocketClass, StartsWithoutASocket)
{
    const Open<Socket> socket;
    EXPECT_EQ(socket.fd, -1);
    EXPECT_EQ(socket.domain, AF_UNSPEC);
}

TEST(SocketClass, MakesASocketThatIsClosedOnExec)
{
    const Open<Socket> socket(AF_UNIX, SOCK_STREAM);
    EXPECT_EQ(socket.domain, AF_UNIX);
    EXPECT_TRUE(isCloseOnExec(socket.fd));
}

TEST(SocketClass, ReportsASocketThatCannotBeMade)
{
    EXPECT_EQ(failureOf([] { const Socket socket(9999, SOCK_STREAM); }),
              "SocketException: cannot create Socket (" + std::to_string(EAFNOSUPPORT) + ")");
}

TEST(SocketClass, TakesTheAddressFamilyFromThePeer)
{
    sockaddr address{};
    address.sa_family = AF_INET;
    const Open<Socket> socket(-1, address);
    EXPECT_EQ(socket.domain, AF_INET);
}

TEST_F(SocketTest, ReadsAShortMessageAtOnce)
{
    pair.peerSends("hello");
    EXPECT_EQ(socket.read(out), 5U);
    EXPECT_EQ(out, "hello");
    EXPECT_THAT(SystemCalls::record().receives, ElementsAre(FullBuffer));
}

TEST_F(SocketTest, WaitsForMoreAfterExactlyOneFullBuffer)
{
    SystemCalls::record().beforeReceive = [this, calls = 0]() mutable {
        pair.peerSends(++calls == 1 ? std::string(FullBuffer, 'a') : "b");
    };
    EXPECT_EQ(socket.read(out), FullBuffer + 1);
    EXPECT_EQ(out, std::string(FullBuffer, 'a') + "b");
}

TEST_F(SocketTest, EndsAMessageOneByteShortOfAFullBuffer)
{
    pair.peerSends(std::string(FullBuffer - 1, 'a'));
    EXPECT_EQ(socket.read(out), FullBuffer - 1);
    EXPECT_EQ(SystemCalls::record().receives.size(), 1U);
}

TEST_F(SocketTest, EndsAFullBufferWhenThePeerCloses)
{
    pair.peerSends(std::string(2 * FullBuffer, 'a'));
    pair.closePeer();
    EXPECT_EQ(socket.read(out), 2 * FullBuffer);
}

TEST_F(SocketTest, ReadsNothingFromAPeerThatClosedWithoutSending)
{
    pair.closePeer();
    EXPECT_EQ(socket.read(out), 0U);
    EXPECT_EQ(out, "");
}

TEST_F(SocketTest, ReadsZeroBytesLikeAnyOther)
{
    const std::string bytes("a\0b\r\n\xff", 6);
    pair.peerSends(bytes);
    socket.read(out);
    EXPECT_EQ(out, bytes);
}

TEST_F(SocketTest, ReadsAsManyBytesAsAskedForFromPieces)
{
    SystemCalls::record().beforeReceive = [this] { pair.peerSends("abc"); };
    EXPECT_EQ(socket.read(out, 7), 7U);
    EXPECT_EQ(out, "abcabca");
    EXPECT_THAT(SystemCalls::record().receives, ElementsAre(7, 4, 1));
}

TEST_F(SocketTest, ReadsFewerBytesOnlyFromAPeerThatCloses)
{
    pair.peerSends("abc");
    pair.closePeer();
    EXPECT_EQ(socket.read(out, 7), 3U);
    EXPECT_EQ(out, "abc");
}

TEST_F(SocketTest, ReadsAFullBufferWhenAskedForZeroBytes)
{
    pair.peerSends(std::string(FullBuffer + 5, 'a'));
    EXPECT_EQ(socket.read(out, 0), FullBuffer);
    EXPECT_THAT(SystemCalls::record().receives, ElementsAre(FullBuffer));
}

TEST_F(SocketTest, ReportsATimeOutWhileReading)
{
    const std::string failure =
        "ESocketRead: error while reading (" + std::to_string(EAGAIN) + " : " + std::strerror(EAGAIN) + ")";
    socket.setReceiveTimeout(1000);
    EXPECT_EQ(failureOf([this] { socket.read(out); }), failure);
    EXPECT_EQ(failureOf([this] { socket.read(out, 5); }), failure);
    EXPECT_EQ(out, "");
}

TEST_F(SocketTest, CompletesAPartialSend)
{
    const int small = 1;
    ASSERT_EQ(setsockopt(socket.fd, SOL_SOCKET, SO_SNDBUF, &small, sizeof small), 0);
    std::string arrived;
    SystemCalls::record().afterSend = [&] { arrived += pair.arrived(); };
    std::string bytes;
    for (int number = 0; bytes.size() < 100000; ++number) {
        bytes += std::to_string(number);
    }
    socket.send(bytes, MSG_DONTWAIT);
    EXPECT_EQ(arrived, bytes);
    EXPECT_GT(SystemCalls::record().sends.size(), 2U);
}

TEST_F(SocketTest, HandsTheFlagsOnUnchanged)
{
    socket.send("a", MSG_NOSIGNAL | MSG_DONTWAIT);
    socket.send("b", 0);
    ASSERT_EQ(SystemCalls::record().sends.size(), 2U);
    EXPECT_EQ(SystemCalls::record().sends[0].flags, MSG_NOSIGNAL | MSG_DONTWAIT);
    EXPECT_EQ(SystemCalls::record().sends[1].flags, 0);
}

TEST_F(SocketTest, SendsNothingToo)
{
    socket.send("", 0);
    EXPECT_EQ(SystemCalls::record().sends.size(), 1U);
    EXPECT_EQ(pair.arrived(), "");
}

TEST_F(SocketTest, ReportsAPeerThatHasGoneWhileSending)
{
    pair.closePeer();
    EXPECT_EQ(failureOf([this] { socket.send("a", MSG_NOSIGNAL); }),
              std::string("ESocketWrite: error while sending (") + std::strerror(EPIPE) + ")");
}

TEST_F(SocketTest, StreamsTextAndNumbersOutAndMessagesIn)
{
    socket << "text " << -12 << " " << 0;
    EXPECT_EQ(pair.arrived(), "text -12 0");
    pair.peerSends("reply");
    EXPECT_EQ(&(socket >> out), &socket);
    EXPECT_EQ(out, "reply");
}

TEST_F(SocketTest, SetsBothTimeOuts)
{
    socket.setTimeout(2500000);
    expectTimeout(timeoutOf(socket.fd, SO_SNDTIMEO), 2, 500000);
    expectTimeout(timeoutOf(socket.fd, SO_RCVTIMEO), 2, 500000);
}

TEST_F(SocketTest, SetsEachTimeOutAlone)
{
    socket.setReceiveTimeout(1000000);
    socket.setSendTimeout(3000000);
    expectTimeout(timeoutOf(socket.fd, SO_RCVTIMEO), 1, 0);
    expectTimeout(timeoutOf(socket.fd, SO_SNDTIMEO), 3, 0);
}

TEST_F(SocketTest, ReportsATimeOutThatCannotBeSetWithTheResultOfTheCall)
{
    Socket none;
    EXPECT_EQ(failureOf([&] { none.setReceiveTimeout(1); }), "ESetReceiveTimeout: (-1)");
    EXPECT_EQ(failureOf([&] { none.setSendTimeout(1); }), "ESetSendTimeout: (-1)");
    EXPECT_EQ(failureOf([&] { none.setTimeout(1); }), "ESetSendTimeout: (-1)");
}

TEST_F(SocketTest, RefusesDescriptorZeroThoughItIsASocket)
{
    const InPlaceOfDescriptorZero replaced(pair.mine());
    Open<Socket> zero(0);
    pair.peerSends("hello");
    EXPECT_EQ(failureOf([&] { zero.read(out); }), "EInvalidSocket: (0)");
    EXPECT_EQ(out, "");
    EXPECT_EQ(failureOf([&] { zero.read(out, 1); }), "EInvalidSocket: (0)");
    EXPECT_EQ(failureOf([&] { zero.send("a", 0); }), "EInvalidSocket: (0)");
    EXPECT_EQ(failureOf([&] { zero.setReceiveTimeout(1); }), "EInvalidSocket: (0)");
    EXPECT_EQ(failureOf([&] { zero.setSendTimeout(1); }), "EInvalidSocket: (0)");
    zero.fd = -1;
}

TEST_F(SocketTest, LeavesOtherBadDescriptorsToTheKernel)
{
    const std::string reason = std::strerror(EBADF);
    Socket none;
    EXPECT_EQ(failureOf([&] { none.read(out); }),
              "ESocketRead: error while reading (" + std::to_string(EBADF) + " : " + reason + ")");
    EXPECT_EQ(failureOf([&] { none.send("a", 0); }), "ESocketWrite: error while sending (" + reason + ")");
}

TEST_F(SocketTest, ShutsDownOneDirection)
{
    socket.shutdown(SHUT_WR);
    pair.peerSends("still heard");
    socket.read(out);
    EXPECT_EQ(out, "still heard");
    EXPECT_NE(failureOf([this] { socket.send("a", MSG_NOSIGNAL); }), "");
}

TEST_F(SocketTest, ShutsDownWhatAnotherProcessHoldsOpenTooWhenItCloses)
{
    const int held = fcntl(socket.fd, F_DUPFD_CLOEXEC, 3);
    socket.close();
    char byte = 0;
    EXPECT_EQ(recv(pair.peer(), &byte, 1, MSG_DONTWAIT), 0);
    EXPECT_EQ(socket.fd, -1);
    EXPECT_FALSE(isOpen(pair.mine()));
    close(held);
}

TEST_F(SocketTest, MayBeClosedTwice)
{
    socket.close();
    socket.close();
    EXPECT_EQ(socket.fd, -1);
}

TEST(SocketClass, ShutsDownAndClosesWhenItIsDestroyed)
{
    const ConnectedPair pair;
    const int held = fcntl(pair.mine(), F_DUPFD_CLOEXEC, 3);
    std::optional<Socket> socket(std::in_place, pair.mine());
    socket.reset();
    char byte = 0;
    EXPECT_EQ(recv(pair.peer(), &byte, 1, MSG_DONTWAIT), 0);
    EXPECT_FALSE(isOpen(pair.mine()));
    close(held);
}

TEST(SocketClass, CallsItsOwnOperationsThroughTheVirtualSlots)
{
    const ConnectedPair pair;
    RecordingSocket socket(pair.mine());
    std::string out;
    socket << "a";
    socket << 1;
    socket >> out;
    socket.setTimeout(5);
    socket.close();
    EXPECT_THAT(socket.calls,
                ElementsAre("send a 0", "send 1 0", "read", "send 5", "receive 5", "shutdown 2"));
}

TEST(SocketClass, ResolvesNamesToFourBytesEach)
{
    Socket socket;
    EXPECT_THAT(socket.getIPs("127.0.0.1"), ElementsAre(std::string("\x7f\0\0\x01", 4)));
    EXPECT_THAT(socket.getIPs("10.1.2.3"), ElementsAre("\x0a\x01\x02\x03"));
    EXPECT_TRUE(socket.getIPs(UnknownHost).empty());
}

TEST(SocketClass, KeepsTheOrderOfAHostsAddresses)
{
    SystemCalls::reset();
    SystemCalls::record().addresses = {"\x0a\x02\x02\x02", "\x0a\x01\x01\x01"};
    EXPECT_THAT(Socket().getIPs("host"), ElementsAre("\x0a\x02\x02\x02", "\x0a\x01\x01\x01"));
    SystemCalls::reset();
}
