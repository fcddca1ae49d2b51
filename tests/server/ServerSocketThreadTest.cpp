#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <list>
#include <string>
#include <thread>

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include <QTextCodec>

#include "drives/DriveManager.h"
#include "log/Trace.h"
#include "server/ServerSocketThread.h"
#include "socket/ClientSocket.h"
#include "socket/SocketException.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/UnixSockets.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const char* const SocketPath = "/tmp/vrmount";

const char* const Machine = "[sda1]\nInternal = true\nPartition = true\nDeviceMajor = 8\nIdType = vfat\n"
                            "DeviceMountPaths = /media/D:,/media/M\xc3\xbcsli\n";

bool isListening()
{
    return UnixSockets::somebodyListensAt(SocketPath);
}

bool isServing()
{
    return UnixSockets::acceptedAt(SocketPath) > 0;
}

void waitUntilServing()
{
    EXPECT_TRUE(waitFor(isServing));
}

class Client : public VORNA::ClientSocket
{
public:
    Client()
        : Client(0)
    {
    }
    std::string ask(const std::string& request)
    {
        send(request, 0);
        return reply();
    }
    std::string reply()
    {
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
    /// Waits until all that was sent is read.
    void waitUntilRead() const
    {
        EXPECT_TRUE(waitFor([this] {
            int unread = 0;
            return ioctl(fd, SIOCOUTQ, &unread) == 0 && unread == 0;
        }));
    }
    using VORNA::Socket::fd;

protected:
    explicit Client(int flags)
        : ClientSocket(AF_UNIX, SOCK_STREAM | flags)
    {
        connect(SocketPath);
    }
};

/// Finds a free place at once, or throws.
class ImpatientClient : public Client
{
public:
    ImpatientClient()
        : Client(SOCK_NONBLOCK)
    {
        fcntl(fd, F_SETFL, 0);
    }
};

/// The 8-bit text of the service, which here does `before` it reads a text.
class Codec : public QTextCodec
{
public:
    Codec() { setCodecForLocale(this); }
    static void restore() { setCodecForLocale(codecForName("UTF-8")); }

    QByteArray name() const override { return "UTF-8 in a test"; }
    int mibEnum() const override { return -1; }

    std::function<void(const QByteArray& text)> before;

protected:
    QString convertToUnicode(const char* text, int size, ConverterState* /*state*/) const override
    {
        before(QByteArray(text, size));
        return QString::fromUtf8(text, size);
    }
    QByteArray convertFromUnicode(const QChar* text, int size, ConverterState* /*state*/) const override
    {
        return QString(text, size).toUtf8();
    }
};

/// While it lives, `number` interrupts system calls and does nothing else.
class CaughtSignal
{
public:
    explicit CaughtSignal(int number)
        : _number(number)
    {
        struct sigaction nothing = {};
        nothing.sa_handler = [](int /*signal*/) {};
        sigaction(number, &nothing, &_before);
    }
    ~CaughtSignal() { sigaction(_number, &_before, nullptr); }
    CaughtSignal(const CaughtSignal&) = delete;
    CaughtSignal& operator=(const CaughtSignal&) = delete;

private:
    int _number;
    struct sigaction _before = {};
};

/// Opens files until what is opened next is `end` or more.
std::vector<int> takeDescriptors(int end)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> taken;
    do {
        taken.push_back(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    } while (taken.back() >= 0 && taken.back() < end - 1);
    EXPECT_GE(taken.back(), 0);
    return taken;
}

class ServerSocketThreadTest : public testing::Test
{
protected:
    /// The thread that serves, which it says itself when it reads a request.
    static pthread_t servingThread()
    {
        pthread_t result = pthread_self();
        auto* const codec = new Codec; // the framework's from here on
        codec->before = [&result](const QByteArray& text) {
            if (text == "bind") {
                result = pthread_self();
            }
        };
        EXPECT_EQ(Client().ask("bind"), "Command not implemented!");
        Codec::restore();
        EXPECT_FALSE(pthread_equal(result, pthread_self()));
        return result;
    }

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

    /// The traces of the classes that serve a request, since the log began: "File.cpp function".
    static std::vector<std::string> traced(const std::vector<std::string>& sources)
    {
        std::vector<std::string> result;
        for (const LogWatch::Line& line : LogWatch::lines()) {
            if (line.level == Vorna::Trace &&
                std::find(sources.begin(), sources.end(), line.source) != sources.end()) {
                result.push_back(line.source + ' ' + line.message.substr(line.message.find(']') + 1));
            }
        }
        return result;
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
    LogWatch::begin(0);
    client.shutdown(SHUT_WR);
    EXPECT_EQ(client.reply().size(), 17 + 2 * 10240U);
    LogWatch::begin();
}

TEST_F(ServerSocketThreadTest, IsNotHeldByASilentClientWhenItStops)
{
    const Client silent;
    waitUntilServing();
    const Client queued;
    EXPECT_LT(stop(), 1000);
}

TEST_F(ServerSocketThreadTest, IsNotHeldByAClientThatSendsAFullBufferAndWaits)
{
    Client client;
    client.send(std::string(10240, 'x'), 0);
    client.waitUntilRead();
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
    client.waitUntilRead();
    thread.finishRemount();
    client.send(" ", 0);
    EXPECT_TRUE(thread.leave());
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
}

TEST_F(ServerSocketThreadTest, StartsNoRemountThatWasReadBeforeItWasAskedToFinish)
{
    auto* const codec = new Codec; // the framework's from here on
    codec->before = [this](const QByteArray& text) {
        if (text == "remount:/media/D:=rw") {
            std::thread([this] { thread.finishRemount(); }).join();
        }
    };
    EXPECT_EQ(Client().ask("remount:/media/D:=rw"), "");
    Codec::restore();
    EXPECT_TRUE(thread.leave());
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
}

TEST_F(ServerSocketThreadTest, ServesOneClientAtATimeInTheOrderInWhichTheyConnected)
{
    Client first;
    waitUntilServing();
    std::list<Client> others(3);
    // Requests arrive the other way round.
    int number = 3;
    for (auto other = others.rbegin(); other != others.rend(); ++other) {
        other->send("c" + std::to_string(number--), 0);
    }
    EXPECT_FALSE(waitFor([] { return UnixSockets::acceptedAt(SocketPath) > 1; }, 300ms));
    EXPECT_EQ(first.ask("c0"), "Command invalid: c0");
    for (Client& other : others) {
        EXPECT_EQ(other.reply(), "Command invalid: c" + std::to_string(++number));
    }
    std::vector<std::string> inOrder;
    for (const char* word : {"c0", "c1", "c2", "c3"}) {
        inOrder.push_back("\"Command not found: " + std::string(word) + "\" ");
        LogWatch::expect(inOrder.back());
    }
    EXPECT_THAT(LogWatch::messages(Vorna::Warning), ElementsAreArray(inOrder));
}

TEST_F(ServerSocketThreadTest, LetsSixClientsWaitBesideTheOneThatIsServed)
{
    Client silent;
    waitUntilServing();
    std::list<ImpatientClient> waiting(6);
    EXPECT_THROW(ImpatientClient(), VORNA::SocketConnectingException);

    EXPECT_EQ(silent.ask("move"), "Command not implemented!");
    for (Client& client : waiting) {
        EXPECT_EQ(client.ask("move"), "Command not implemented!");
    }
}

TEST_F(ServerSocketThreadTest, IsNotDisturbedBySignals)
{
    const pthread_t server = servingThread();
    const auto interrupt = [server] {
        for (int count = 0; count < 200; ++count) {
            pthread_kill(server, SIGUSR1);
            std::this_thread::sleep_for(1ms);
        }
    };
    const CaughtSignal caught(SIGUSR1);
    interrupt();
    Client silent;
    waitUntilServing();
    interrupt();
    EXPECT_EQ(silent.ask("move"), "Command not implemented!");
    EXPECT_LT(stop(), 1000);
}

TEST_F(ServerSocketThreadTest, ServesAConnectionThatItCannotWaitFor)
{
    const std::vector<int> taken = takeDescriptors(FD_SETSIZE);
    EXPECT_EQ(Client().ask("move"), "Command not implemented!");
    for (const int descriptor : taken) {
        close(descriptor);
    }
}

TEST_F(ServerSocketThreadTest, WaitsForARequestForAsLongAsItTakes)
{
    for (const std::string& start : {std::string(), "move:" + std::string(10240 - 5, 'x')}) {
        Client slow;
        slow.send(start, 0);
        waitUntilServing();
        EXPECT_FALSE(waitFor([] { return !isServing(); }, 1500ms));
        EXPECT_EQ(slow.ask("move:y"), "Command not implemented!");
        EXPECT_TRUE(waitFor([] { return !isServing(); }));
    }
}

TEST_F(ServerSocketThreadTest, TracesFromTheFileNamedAfterItsClass)
{
    stop();
    EXPECT_THAT(traced({"ServerSocketThread.cpp"}),
                ElementsAre("ServerSocketThread.cpp ServerSocketThread", "ServerSocketThread.cpp run",
                            "ServerSocketThread.cpp finishRemount", "ServerSocketThread.cpp leave"));
}

TEST_F(ServerSocketThreadTest, TracesWhatIsAskedOfEachRequest)
{
    const std::pair<const char*, std::vector<std::string>> table[] = {
        {"hello", {"MountCommand", "isValid", "command", "~MountCommand"}},
        {"move:a=b", {"MountCommand", "isValid", "command", "~MountCommand"}},
        {"remount:/media/D:=rw", {"MountCommand", "isValid", "command", "argumentPair", "~MountCommand"}},
    };
    for (const auto& [request, functions] : table) {
        LogWatch::begin();
        Client().ask(request);
        std::vector<std::string> expected;
        for (const std::string& function : functions) {
            expected.push_back("MountCommand.cpp " + function);
        }
        EXPECT_THAT(traced({"ServerSocketThread.cpp", "MountCommand.cpp"}), ElementsAreArray(expected));
    }
    LogWatch::begin();
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
    fs::remove(SocketPath);
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

TEST_F(ServerSocketThreadDeathTest, EndsByItselfWhenTheApplicationCloses)
{
    const auto serve = [] {
        ServerSocketThread thread{QString::fromLatin1(SocketPath), nullptr};
        thread.start();
        waitFor(isListening);
        QCoreApplication::instance()->~QCoreApplication();
        std::_Exit(thread.wait(2000) && !fs::exists(SocketPath) ? 0 : 1);
    };
    EXPECT_EXIT(serve(), testing::ExitedWithCode(0), "");
}

} // namespace
