#include <csignal>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

#include "socket/ClientSocket.h"
#include "tests/client/Client.h"
#include "tests/client/ClientProcesses.h"
#include "tests/client/ServiceSide.h"
#include "tests/support/WaitFor.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

const std::string Complaint = "vrmountctl: the service did not do what it was asked\n";

std::string contentOf(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

const ClientResult Busy{3, "",
                        "vrmountctl: cannot reach the service at socket: the service is busy and took no "
                        "connection in time\n"};

class ClientTest : public ServiceSideTest
{
protected:
    /// Runs a client that nobody serves; it has to end when its time is over and not much later.
    static void expectBusyWithin(const char* timeout, std::chrono::milliseconds bound)
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(run({"--socket", "socket", "--timeout", timeout, "remount", "/media/C:"}), Busy);
        const auto taken = std::chrono::steady_clock::now() - start;
        EXPECT_GE(taken, bound);
        EXPECT_LT(taken, bound + 3s);
    }

    /// Sends `request` and gets `reply`.
    ClientResult exchange(const std::string& request, const std::string& reply)
    {
        listen();
        Client client({"--socket", "socket", "send", request});
        EXPECT_EQ(serve(reply), request);
        return resultOf(client);
    }
};

TEST_F(ClientTest, PrintsTheReplyAndShowsByItsStatusWhatHappened)
{
    const std::vector<std::pair<std::string, ClientResult>> cases{
        {"DONE remount: [/media/C:] with options: [ro]",
         {0, "DONE remount: [/media/C:] with options: [ro]\n", ""}},
        {"WARNING re-mount path not found: [/x]", {1, "WARNING re-mount path not found: [/x]\n", Complaint}},
        {"Command invalid: \xff\x1b", {1, "Command invalid: \xff\x1b\n", Complaint}},
        {"",
         {1, "",
          "vrmountctl: the reply is empty: not done as asked; /var/log/vorna/vrmountdrives.log has the "
          "detail\n"}},
    };
    for (const auto& [reply, result] : cases) {
        EXPECT_EQ(exchange("hello", reply), result);
    }
}

TEST_F(ClientTest, SendsARemountAsOneRequest)
{
    listen();
    Client client({"remount", "/media/C:", "ro,noatime", "--socket", "socket"});
    EXPECT_EQ(serve("DONE"), "remount:/media/C:=ro,noatime|");
    EXPECT_EQ(client.status(), 0);
}

TEST_F(ClientTest, SendsARequestOfAnyLengthWhole)
{
    for (const std::size_t length : {0U, 1U, 10239U, 10240U, 10241U, 20480U, 32768U}) {
        EXPECT_EQ(exchange(std::string(length, 'x'), "DONE").status, 0) << length;
    }
}

TEST_F(ClientTest, ReadsAReplyThatComesInPieces)
{
    listen();
    Client client({"--socket", "socket", "send", "x"});
    std::string request;
    Connection connection = accept(request);
    const std::string piece(10240, 'p');
    connection->send("DONE", 0);
    connection->send(piece, 0);
    connection->send(piece, 0);
    connection->close();
    EXPECT_EQ(resultOf(client), (ClientResult{0, "DONE" + piece + piece + "\n", ""}));
}

TEST_F(ClientTest, WaitsForTheReplyLongerThanForTheService)
{
    listen();
    Client client({"--socket", "socket", "--timeout", "0.5", "send", "x"});
    std::string request;
    Connection connection = accept(request);
    EXPECT_FALSE(waitFor([&] { return !client.isRunning(); }, 800ms));
    connection->send("DONE", 0);
    connection->close();
    EXPECT_EQ(client.status(), 0);
}

TEST_F(ClientTest, SaysWhyTheServiceCannotBeReached)
{
    const auto refusal = [](const std::string& path, const std::string& reason) {
        return ClientResult{3, "", "vrmountctl: cannot reach the service at " + path + ": " + reason + "\n"};
    };
    EXPECT_EQ(run({"--socket", "nowhere", "send", "x"}), refusal("nowhere", "No such file or directory"));
    std::ofstream("file") << "no socket";
    EXPECT_EQ(run({"--socket", "file", "send", "x"}), refusal("file", "Connection refused"));
    EXPECT_EQ(run({"--socket", "file/below", "send", "x"}), refusal("file/below", "Not a directory"));
    EXPECT_EQ(run({"--socket", "\x1b[2J", "send", "x"}), refusal("\\x1b[2J", "No such file or directory"));
}

TEST_F(ClientTest, SaysThatTheServiceWentAwayInsteadOfReplying)
{
    listen();
    Client client({"--socket", "socket", "send", "x"});
    abandonClient();
    const ClientResult result = resultOf(client);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.complaint, HasSubstr("cannot reach the service at socket: the service went away"));
}

TEST_F(ClientTest, SaysThatItsReaderWasKilled)
{
    listen();
    Client client({"--socket", "socket", "send", "x"});
    std::string request;
    const Connection connection = accept(request);
    ASSERT_EQ(kill(ClientProcesses::childOf(client.id()), SIGKILL), 0);
    EXPECT_EQ(resultOf(client), (ClientResult{3, "",
                                              "vrmountctl: cannot reach the service at socket: the process "
                                              "that reads the reply has ended\n"}));
}

TEST_F(ClientTest, BoundsTheWaitForAPlaceInTheQueue)
{
    listen(0);
    VORNA::ClientSocket first(AF_UNIX, SOCK_STREAM);
    first.connect("socket");
    expectBusyWithin("0.2", 200ms);
}

TEST_F(ClientTest, BoundsTheWaitInTheQueueAndWithdrawsItsRequestThen)
{
    listen();
    expectBusyWithin("0.2", 200ms);
    std::string request = "not read";
    Connection connection = accept(request);
    EXPECT_EQ(request, "");
    // Far more than the socket holds: only somebody who reads it lets it pass.
    EXPECT_NO_THROW(connection->send(std::string(std::size_t{8} << 20U, 'r'), MSG_NOSIGNAL));
}

TEST_F(ClientTest, BoundsBothWaitsTogether)
{
    listen(0);
    VORNA::ClientSocket first(AF_UNIX, SOCK_STREAM);
    first.connect("socket");
    Client client({"--socket", "socket", "--timeout", "1.5", "send", "x"});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(waitFor([&] { return !client.isRunning(); }, 1200ms));
    accept()->close();
    EXPECT_EQ(resultOf(client), Busy);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2500ms);
    EXPECT_EQ(serve(""), "");
}

TEST_F(ClientTest, IsServedWhenItGetsItsPlaceInTime)
{
    listen(0);
    VORNA::ClientSocket first(AF_UNIX, SOCK_STREAM);
    first.connect("socket");
    Client client({"--socket", "socket", "--timeout", "30", "send", "x"});
    accept()->close();
    EXPECT_EQ(serve("DONE"), "x");
    EXPECT_EQ(client.status(), 0);
}

TEST_F(ClientTest, IsServedWhenTheServiceTakesItInTimeAndHoldsItNoLongerThanItMust)
{
    for (const char* timeout : {"30", "0"}) {
        listen();
        Client client({"--socket", "socket", "--timeout", timeout, "send", "x"});
        EXPECT_FALSE(waitFor([&] { return !client.isRunning(); }, 1100ms));
        Connection connection = accept();
        EXPECT_EQ(connection->select(500), 1);
        std::string request;
        connection->read(request);
        EXPECT_EQ(request, "x");
        connection->send("DONE", 0);
        connection->close();
        EXPECT_EQ(client.status(), 0);
    }
}

TEST_F(ClientTest, SendsALongRequestHoweverLongTheServiceTakesToReadIt)
{
    listen();
    const std::string request(32768, 'x');
    Client client({"--socket", "socket", "--timeout", "1", "send", request});
    const int socket = ClientProcesses::socketOf(ClientProcesses::childOf(client.id()));
    const int small = 1;
    if (setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &small, sizeof small) != 0) {
        GTEST_SKIP() << "needs the right to trace a process";
    }
    close(socket);
    Connection connection = accept();
    // Longer than twice the time-out, which would end the second call of send(2), not the first.
    EXPECT_FALSE(waitFor([&] { return !client.isRunning(); }, 2500ms));
    std::string received;
    for (std::string part; connection->read(part) > 0;) {
        received += part;
    }
    EXPECT_EQ(received, request);
    connection->send("DONE", MSG_NOSIGNAL);
    connection->close();
    EXPECT_EQ(client.status(), 0);
}

TEST_F(ClientTest, RefusesWrongUseWithoutAskingTheService)
{
    EXPECT_EQ(
        run({"--socket", "nowhere", "remount", "/a=b"}),
        (ClientResult{
            2, "",
            "vrmountctl: the path \"/a=b\" cannot be sent: \"=\" is a separator of requests (see vrmountctl "
            "--help)\n"}));
    EXPECT_EQ(run({}), (ClientResult{2, "", "vrmountctl: no command given (see vrmountctl --help)\n"}));
}

TEST_F(ClientTest, ShowsItsHelpAndItsVersion)
{
    EXPECT_EQ(run({"--version"}), (ClientResult{0, "vrmountctl 1.1.3\n", ""}));
    const ClientResult help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, testing::StartsWith("Usage: vrmountctl"));
    EXPECT_EQ(help.complaint, "");
}

TEST_F(ClientTest, WorksWithoutStandardStreams)
{
    listen();
    Client mute({"--socket", "socket", "send", "x"}, "<&- >&- 2>&-");
    EXPECT_EQ(serve("DONE"), "x");
    EXPECT_EQ(mute.status(), 0);

    Client deaf({"--socket", "socket", "send", "x"}, "<&- >output");
    EXPECT_EQ(serve("DONE"), "x");
    EXPECT_EQ(deaf.status(), 0);
    EXPECT_EQ(contentOf("output"), "DONE\n");
}

TEST_F(ClientTest, SaysThatItsOutputCannotBeWritten)
{
    listen();
    Client client({"--socket", "socket", "send", "x"}, ">/dev/full");
    serve("DONE");
    EXPECT_EQ(client.status(), 1);
    EXPECT_EQ(client.complaint(), "vrmountctl: cannot write the output: No space left on device\n");
}

TEST_F(ClientTest, ShowsNoControlCharactersOnATerminal)
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    listen();
    Client client({"--socket", "socket", "send", "x"}, std::string(">") + ptsname(terminal));
    serve("DONE \x1b[2J");
    EXPECT_EQ(client.status(), 0);
    std::string shown(100, '\0');
    shown.resize(static_cast<std::size_t>(read(terminal, shown.data(), shown.size())));
    close(terminal);
    EXPECT_EQ(shown, "DONE \\x1b[2J\r\n");
}

} // namespace
