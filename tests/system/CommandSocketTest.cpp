#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <thread>

#include <sys/stat.h>
#include <sys/syscall.h>

#include "tests/support/Files.h"
#include "tests/support/Process.h"
#include "tests/support/WaitFor.h"
#include "tests/system/CommandClient.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;
using testing::Each;
using testing::HasSubstr;

namespace {

constexpr auto StopBound = 3s;

std::size_t descriptorsOf(pid_t process)
{
    return Files::namesIn("/proc/" + std::to_string(process) + "/fd").size();
}

/// Whether one of its threads is at this system call.
bool isAtCall(pid_t process, long number)
{
    const std::string threads = "/proc/" + std::to_string(process) + "/task/";
    const std::vector<std::string> names = Files::namesIn(threads);
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        long call = -1;
        std::istringstream(Files::content(threads + name + "/syscall")) >> call;
        return call == number;
    });
}

/// A request of this many bytes that is refused with a short line in the log.
std::string requestOf(std::size_t size)
{
    return "hello:" + std::string(size - 6, 'x');
}

} // namespace

class CommandSocketTest : public SystemTest
{
protected:
    void start(const std::vector<std::string>& arguments = {"log=10"})
    {
        _service = std::make_unique<Service>(arguments);
        ASSERT_TRUE(_service->isReady()) << _service->output();
        _descriptorsWhenIdle = descriptorsOf(_service->id());
    }

    /// Waits until the service has accepted a client and is at its request.
    void waitUntilServing() const
    {
        ASSERT_TRUE(waitFor([this] { return descriptorsOf(_service->id()) > _descriptorsWhenIdle; }));
    }

    void expectCleanStop()
    {
        EXPECT_EQ(_service->stop(SIGTERM, StopBound), 0);
        EXPECT_FALSE(fs::exists(Paths::CommandSocket));
        EXPECT_FALSE(fs::exists(Paths::PidFile));
    }

    void expectUnknownCommand() { expectQuotedWarning("Command not found: hello"); }
    Service& service() const { return *_service; }

private:
    std::unique_ptr<Service> _service;
    std::size_t _descriptorsWhenIdle = 0;
};

TEST_F(CommandSocketTest, AnswersEachRequestWithItsReply)
{
    start();
    for (const char* word : {"mount", "unmount", "bind", "move", "devicero"}) {
        EXPECT_EQ(ask(word), "Command not implemented!");
        EXPECT_EQ(ask(std::string(word) + ":a=b|c=d"), "Command not implemented!");
    }
    EXPECT_EQ(ask("hello"), "Command invalid: hello");
    expectQuotedWarning("Command not found: hello");
    EXPECT_EQ(ask(" \n"), "Command invalid:  \n");
    expectQuotedWarning("Command not found: ");
    EXPECT_EQ(ask("Remount:/media/C:=ro"), "Command invalid: Remount:/media/C:=ro");
    expectQuotedWarning("Command not found: Remount");
    EXPECT_EQ(ask("\xff\xfe%1%s"), "Command invalid: \xff\xfe%1%s");
    expectQuotedWarning("Command not found: \xef\xbf\xbd\xef\xbf\xbd%1%s");
    EXPECT_EQ(ask("remount"), "WARNING re-mount path not found: []");
    EXPECT_EQ(ask("remount:="), "WARNING re-mount path not found: []");
    expectQuotedWarning("WARNING re-mount path not found: []");
    expectQuotedWarning("WARNING re-mount path not found: []");
    EXPECT_EQ(ask("remount:/media/Gr\xc3\xbcn=ro"), "WARNING re-mount path not found: [/media/Gr\xc3\xbcn]");
    expectQuotedWarning("WARNING re-mount path not found: [/media/Gr\xc3\xbcn]");
    expectCleanStop();
}

TEST_F(CommandSocketTest, AdmitsRootOnlyWhateverTheMask)
{
    umask(0);
    start();
    struct stat status = {};
    ASSERT_EQ(stat(Paths::CommandSocket.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0077U, 0U);
    EXPECT_EQ(status.st_uid, 0U);
    expectCleanStop();
}

TEST_F(CommandSocketTest, ServesFiftyClientsThatComeAtOnce)
{
    constexpr std::size_t Clients = 50;
    start();
    std::vector<std::string> replies(Clients);
    std::vector<std::thread> clients;
    clients.reserve(Clients);
    for (std::string& reply : replies) {
        clients.emplace_back([&reply] { reply = ask("move:a=b"); });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_THAT(replies, Each("Command not implemented!"));
    expectCleanStop();
}

TEST_F(CommandSocketTest, RequestOneByteShorterThanTheBufferIsAnsweredAtOnce)
{
    start();
    EXPECT_EQ(ask(requestOf(10239)), "Command invalid: " + requestOf(10239));
    expectUnknownCommand();
    expectCleanStop();
}

TEST_F(CommandSocketTest, RequestThatFillsTheBufferIsAnsweredWhenTheClientEndsIt)
{
    start();
    for (const std::size_t size : {10240U, 20480U}) {
        const CommandClient client;
        client.send(requestOf(size));
        client.endRequest();
        EXPECT_EQ(client.reply(), "Command invalid: " + requestOf(size));
        expectUnknownCommand();
    }
    expectCleanStop();
}

TEST_F(CommandSocketTest, RequestAndEndOfRequestInOneGoAreAnswered)
{
    start();
    const CommandClient client;
    client.send("hello");
    client.endRequest();
    EXPECT_EQ(client.reply(), "Command invalid: hello");
    expectUnknownCommand();
    expectCleanStop();
}

TEST_F(CommandSocketTest, SilentClientDoesNotHoldTheStop)
{
    start();
    const CommandClient client;
    waitUntilServing();
    expectCleanStop();
}

TEST_F(CommandSocketTest, ClientThatFillsTheBufferAndWaitsDoesNotHoldTheStop)
{
    for (const std::size_t size : {10240U, 20480U}) {
        SCOPED_TRACE(size);
        start();
        const CommandClient client;
        client.send(requestOf(size));
        waitUntilServing();
        expectCleanStop();
    }
}

TEST_F(CommandSocketTest, ClientThatNeverReadsItsReplyDoesNotHoldTheStop)
{
    removeBus(); // with one, its library ignores the signal of the broken pipe
    start();
    const CommandClient client;
    client.enlargeBuffer();
    service().send(SIGSTOP); // or it might read faster than this writes, and take a part for the request
    client.send(requestOf(300000));
    client.endRequest();
    service().send(SIGCONT);
    expectUnknownCommand();
    ASSERT_TRUE(waitFor([this] { return isAtCall(service().id(), SYS_sendto); }));
    expectCleanStop();
}

TEST_F(CommandSocketTest, QueuedClientsDoNotHoldTheStop)
{
    start();
    const CommandClient silent;
    waitUntilServing();
    const CommandClient first;
    const CommandClient second;
    first.send("hello");
    expectCleanStop();
}

TEST_F(CommandSocketTest, ClientBehindASilentOneWithdrawsItsRequestWhenItsTimeIsOver)
{
    start();
    const CommandClient silent;
    waitUntilServing();
    const ProcessResult result = runProgram({VRMOUNTCTL, "--timeout", "0.5", "remount", "/media/C:", "ro"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output,
              "vrmountctl: cannot reach the service at /tmp/vrmount: the service is busy and took "
              "no connection in time\n");
    silent.send("move");
    EXPECT_EQ(silent.reply(), "Command not implemented!");
    EXPECT_EQ(ask("move"), "Command not implemented!");
    expectQuotedWarning("Command not found: ");
    expectCleanStop();
}

TEST_F(CommandSocketTest, LogThatTakesNoLineDoesNotHoldTheStop)
{
    start({"log=5"});
    fs::remove(Paths::Log);
    EXPECT_EQ(mkfifo(Paths::Log.c_str(), S_IRUSR | S_IWUSR), 0); // nobody reads it
    const CommandClient client;
    client.send("hello");
    EXPECT_TRUE(waitFor([this] { return isAtCall(service().id(), SYS_openat); }));
    expectCleanStop();
    fs::remove(Paths::Log);
}

TEST_F(CommandSocketTest, ClientThatLeavesBeforeItsReplyEndsTheService)
{
    start();
    {
        const CommandClient leaving;
        waitUntilServing();
    }
    expectQuotedWarning("Command not found: ");
    const std::optional<int> status = service().waitForEnd(5s);
    ASSERT_TRUE(status);
    EXPECT_GT(*status, 128) << "by a signal";
    EXPECT_TRUE(fs::exists(Paths::PidFile)) << "which only an orderly stop removes";
}

TEST_F(CommandSocketTest, ReplacesWhateverFileStandsInItsPlace)
{
    Files::write("/tmp/target", "precious");
    const std::vector<std::function<void()>> obstacles = {
        [] { Files::write(Paths::CommandSocket, "file"); },
        [] { fs::create_symlink("/tmp/target", Paths::CommandSocket); },
        [] { fs::create_symlink("/tmp/nowhere", Paths::CommandSocket); },
    };
    for (const auto& makeObstacle : obstacles) {
        makeObstacle();
        start();
        EXPECT_EQ(ask("move"), "Command not implemented!");
        expectCleanStop();
    }
    EXPECT_EQ(Files::content("/tmp/target"), "precious");
}

TEST_F(CommandSocketTest, StaleSocketOfAKilledServiceIsReplaced)
{
    start();
    service().stop(SIGKILL);
    ASSERT_TRUE(fs::exists(Paths::CommandSocket));
    start();
    EXPECT_EQ(ask("move"), "Command not implemented!");
    expectCleanStop();
}

TEST_F(CommandSocketTest, DirectoryInItsPlaceEndsTheService)
{
    fs::create_directory(Paths::CommandSocket);
    Service service;
    const std::optional<int> status = service.waitForEnd(5s);
    ASSERT_TRUE(status);
    EXPECT_NE(*status, 0);
    EXPECT_THAT(service.output(), HasSubstr("SocketBindingException"));
    EXPECT_TRUE(fs::is_directory(Paths::CommandSocket));
}

TEST_F(CommandSocketTest, HundredsOfRequestsLeaveNoDescriptorsBehind)
{
    start();
    const std::size_t before = descriptorsOf(service().id());
    for (int request = 0; request < 300; ++request) {
        ASSERT_EQ(ask("bind:x=1"), "Command not implemented!");
    }
    EXPECT_TRUE(waitFor([&] { return descriptorsOf(service().id()) == before; }));
    expectCleanStop();
}
