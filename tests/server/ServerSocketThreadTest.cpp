#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <gmock/gmock.h>

#include "drives/DriveManager.h"
#include "server/ClientSocket.h"
#include "server/ServerSocketThread.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

namespace {

const char* const SocketPath = "/tmp/vrmount";

const char* const Machine = "[sda1]\nInternal = true\nPartition = true\nDeviceMajor = 8\nIdType = vfat\n"
                            "DeviceMountPaths = /media/D:,/media/M\xc3\xbcsli\n";

bool isListening()
{
    std::ifstream table("/proc/net/unix");
    for (std::string line; std::getline(table, line);) {
        // Num RefCount Protocol Flags: __SO_ACCEPTCON, Type, St, Inode, Path
        if (line.find(" 00010000 ") != std::string::npos && line.rfind(SocketPath) == line.size() - 12) {
            return true;
        }
    }
    return false;
}

class Client : public VORNA::ClientSocket
{
public:
    Client()
        : ClientSocket(AF_UNIX, SOCK_STREAM)
    {
        connect(SocketPath);
    }
    std::string ask(const std::string& request)
    {
        send(request, 0);
        std::string reply;
        for (std::string part; read(part) > 0;) {
            reply += part;
        }
        return reply;
    }
    /// Sends `request` whole although nobody reads it yet.
    void queue(const std::string& request)
    {
        const int size = 16 * 1024 * 1024;
        setsockopt(fd, SOL_SOCKET, SO_SNDBUFFORCE, &size, sizeof size);
        send(request, 0);
    }
    using VORNA::Socket::fd;
};

class ServerSocketThreadTest : public testing::Test
{
protected:
    ServerSocketThreadTest()
    {
        KernelDoor::reset();
        DriveManager::instance();
        thread.start(QThread::InheritPriority);
        waitFor(isListening);
    }
    ~ServerSocketThreadTest() override
    {
        EXPECT_TRUE(thread.leave());
        EXPECT_FALSE(fs::exists(SocketPath));
    }

    /// Stops as the service does; how many milliseconds it took.
    long stop()
    {
        const auto start = std::chrono::steady_clock::now();
        thread.finishRemount();
        EXPECT_TRUE(thread.leave());
        const auto taken = std::chrono::steady_clock::now() - start;
        return std::chrono::duration_cast<std::chrono::milliseconds>(taken).count();
    }

    const MachineProvider devices{Machine};
    ServerSocketThread thread{QString::fromLatin1(SocketPath), nullptr};
};

struct ReplyRow
{
    const char* request;
    const char* reply;
    const char* warning; ///< in the log; empty: none
};

TEST_F(ServerSocketThreadTest, AnswersEachKindOfRequest)
{
    for (const ReplyRow& row : {
             ReplyRow{"hello", "Command invalid: hello", "\"Command not found: hello\" "},
             {"Remount:a", "Command invalid: Remount:a", "\"Command not found: Remount\" "},
             {" ", "Command invalid:  ", "\"Command not found: \" "},
             {"\xff\xfe%1", "Command invalid: \xff\xfe%1",
              "\"Command not found: \xef\xbf\xbd\xef\xbf\xbd%1\" "},
             {"a\nb", "Command invalid: a\nb", "\"Command not found: a\\nb\" "},
             {"mount:a=b", "Command not implemented!", ""},
             {"unmount:a=b", "Command not implemented!", ""},
             {"bind:a=b", "Command not implemented!", ""},
             {"move:a=b", "Command not implemented!", ""},
             {"devicero", "Command not implemented!", ""},
             {"remount:/media/D:=rw", "DONE remount: [/media/D:] with options: [rw]", ""},
             {"remount:/media/D:", "DONE remount: [/media/D:] with options: []", ""},
             {"remount:/media/M\xc3\xbcsli=rw", "DONE remount: [/media/M\xc3\xbcsli] with options: [rw]", ""},
             {"remount:/x=rw", "WARNING re-mount path not found: [/x]",
              "\"WARNING re-mount path not found: [/x]\" "},
             {"remount", "WARNING re-mount path not found: []", "\"WARNING re-mount path not found: []\" "},
             {"remount:=", "WARNING re-mount path not found: []", "\"WARNING re-mount path not found: []\" "},
         }) {
        if (*row.warning != '\0') {
            LogWatch::expect(row.warning);
        }
        EXPECT_EQ(Client().ask(row.request), row.reply);
    }
}

TEST_F(ServerSocketThreadTest, CarriesOutTheFirstArgumentInKeyOrder)
{
    Client().ask("remount:/media/z=rw|/media/D:=ro");
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("mount(/dev/sda1, /media/D:, NULL, 0xc0ed0021, -oauto)"));
}

TEST_F(ServerSocketThreadTest, AdmitsItsOwnerOnly)
{
    struct stat status = {};
    ASSERT_EQ(stat(SocketPath, &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(ServerSocketThreadTest, LeavesWithinItsWaitWhenIdle)
{
    EXPECT_LT(stop(), 200);
}

TEST_F(ServerSocketThreadTest, AnswersARequestWhoseEndIsTheClosedSendingSide)
{
    Client client;
    client.send("hello" + std::string(2 * 10240 - 5, 'x'), 0);
    client.shutdown(SHUT_WR);
    LogWatch::begin(0);
    std::string reply;
    for (std::string part; client.read(part) > 0;) {
        reply += part;
    }
    EXPECT_EQ(reply.size(), 17 + 2 * 10240U);
    LogWatch::begin();
}

TEST_F(ServerSocketThreadTest, IsNotHeldByASilentClientWhenItStops)
{
    const Client silent;
    const Client queued;
    EXPECT_LT(stop(), 1000);
}

TEST_F(ServerSocketThreadTest, IsNotHeldByAClientThatSendsAFullBufferAndWaits)
{
    Client client;
    client.send(std::string(10240, 'x'), 0);
    EXPECT_LT(stop(), 1000);
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
}

TEST_F(ServerSocketThreadTest, IsNotHeldByAClientThatNeverReadsItsReply)
{
    LogWatch::begin(0);
    Client holding;
    Client client;
    client.queue(std::string(1024 * 1024 + 1, 'x'));
    holding.ask("move");
    // Something to read: the reply is on its way, and far more than the socket holds.
    char first = 0;
    ASSERT_EQ(recv(client.fd, &first, 1, 0), 1);
    EXPECT_LT(stop(), 1000);
    LogWatch::begin();
}

TEST_F(ServerSocketThreadTest, StartsNoRemountOnceItWasAskedToFinish)
{
    Client client;
    client.send("remount:/media/D:=rw" + std::string(10240 - 20, ' '), 0);
    thread.finishRemount();
    client.send(" ", 0);
    EXPECT_TRUE(thread.leave());
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
}

TEST_F(ServerSocketThreadTest, TracesFromTheFileNamedAfterItsClass)
{
    stop();
    std::vector<std::string> traced;
    for (const LogWatch::Line& line : LogWatch::lines()) {
        if (line.source == "ServerSocketThread.cpp") {
            traced.push_back(line.message);
        }
    }
    EXPECT_THAT(traced, ElementsAre(EndsWith("]ServerSocketThread"), EndsWith("]run"),
                                    EndsWith("]finishRemount"), EndsWith("]leave")));
}

class ServerSocketThreadDeathTest : public testing::Test
{
protected:
    ServerSocketThreadDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

TEST_F(ServerSocketThreadDeathTest, EndsTheProcessWhenItCannotBind)
{
    fs::create_directory(SocketPath);
    const auto serve = [] {
        ServerSocketThread thread{QString::fromLatin1(SocketPath), nullptr};
        thread.start();
        thread.wait();
    };
    EXPECT_DEATH(serve(), "SocketBindingException");
}

TEST_F(ServerSocketThreadDeathTest, EndsTheProcessWhenAClientLeavesBeforeItsReply)
{
    const auto serve = [] {
        ServerSocketThread thread{QString::fromLatin1(SocketPath), nullptr};
        thread.start();
        waitFor(isListening);
        Client first;
        {
            Client leaving;
            leaving.send("move:x", 0);
        }
        first.ask("move:x");
        thread.wait(5000);
    };
    EXPECT_DEATH(serve(), "ESocketWrite");
}

} // namespace
