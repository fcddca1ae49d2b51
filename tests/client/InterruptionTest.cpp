#include <csignal>
#include <cstring>

#include <gmock/gmock.h>

#include <unistd.h>

#include "socket/ClientSocket.h"
#include "tests/client/Client.h"
#include "tests/client/ClientProcesses.h"
#include "tests/client/ServiceSide.h"
#include "tests/support/WaitFor.h"

namespace {

using namespace std::chrono_literals;

/// More than any socket holds: it can be sent only to somebody who reads it.
const std::string LONG_REPLY(std::size_t{8} << 20U, 'r');

class InterruptedClientTest : public ServiceSideTest
{
protected:
    /// As Ctrl-C or a closing terminal does it: everything in the client's session gets the signal.
    static void interrupt(Client& client, int signalNumber)
    {
        ASSERT_EQ(kill(-client.id(), signalNumber), 0);
        EXPECT_EQ(client.status(), 128 + signalNumber);
    }
};

TEST_F(InterruptedClientTest, LeavesSomebodyToReadTheReply)
{
    listen();
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGKILL}) {
        SCOPED_TRACE(strsignal(signalNumber));
        Client client({"--socket", "socket", "send", "x"});
        std::string request;
        Connection connection = accept(request);
        interrupt(client, signalNumber);

        EXPECT_NO_THROW(connection->send(LONG_REPLY, MSG_NOSIGNAL));
        connection->shutdown(SHUT_WR);
        EXPECT_EQ(connection->read(request), 0U); // the reader has seen the end, and left
    }
}

TEST_F(InterruptedClientTest, LeavesAReaderThatHoldsNoTerminalAndEndsWithTheReply)
{
    listen();
    Client client({"--socket", "socket", "send", "x"});
    std::string request;
    Connection connection = accept(request);
    const pid_t reader = ClientProcesses::childOf(client.id());
    interrupt(client, SIGKILL);

    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        EXPECT_EQ(ClientProcesses::descriptor(reader, number), "/dev/null") << number;
    }
    EXPECT_NE(getsid(reader), client.id());
    connection->send("DONE", MSG_NOSIGNAL);
    connection->close();
    EXPECT_TRUE(waitFor([&] { return ClientProcesses::hasEnded(reader); }));
}

TEST_F(InterruptedClientTest, KeepsItsReaderWhenSignalsReachThatToo)
{
    listen();
    Client client({"--socket", "socket", "send", "x"});
    std::string request;
    Connection connection = accept(request);
    const pid_t reader = ClientProcesses::childOf(client.id());
    for (const int signalNumber :
         {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGALRM, SIGUSR1, SIGTSTP, SIGRTMIN}) {
        EXPECT_EQ(kill(reader, signalNumber), 0);
    }
    connection->send("DONE", 0);
    connection->close();
    EXPECT_EQ(resultOf(client), (ClientResult{0, "DONE\n", ""}));
}

TEST_F(InterruptedClientTest, WithdrawsARequestThatTheServiceHasNotTaken)
{
    listen();
    for (const int signalNumber : {SIGINT, SIGKILL}) {
        Client client({"--socket", "socket", "--timeout", "30", "remount", "/media/C:"});
        waitForClient();
        interrupt(client, signalNumber);
        EXPECT_EQ(serve(LONG_REPLY), "");
    }
}

TEST_F(InterruptedClientTest, WithdrawsARequestThatStillWaitsForItsPlace)
{
    listen(0);
    VORNA::ClientSocket first(AF_UNIX, SOCK_STREAM);
    first.connect("socket");
    Client client({"--socket", "socket", "--timeout", "30", "remount", "/media/C:"});
    const pid_t reader = ClientProcesses::childOf(client.id());
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to see a process wait in connect";
    }
    ASSERT_TRUE(waitFor([&] { return ClientProcesses::isConnecting(reader); }));
    interrupt(client, SIGINT);

    accept()->close();
    EXPECT_EQ(serve(LONG_REPLY), "");
}

} // namespace
