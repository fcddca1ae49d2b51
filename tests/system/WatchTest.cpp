#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include <sys/mount.h>

#include <QStandardPaths>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/WaitFor.h"
#include "tests/system/Listing.h"
#include "tests/system/StandIn.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// A real terminal, in which a program runs.
class Terminal
{
public:
    explicit Terminal(const std::string& command)
    {
        call({"new-session", "-d", "-x", "100", "-y", "12", command + "; echo ended with $?; sleep 60"});
    }
    /// The next one is not to find this one's end.
    ~Terminal()
    {
        call({"kill-server"});
        waitFor([] { return call({"list-sessions"}).find("no server") != std::string::npos; });
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Another size in columns and rows.
    static void resize(const std::string& columns, const std::string& rows)
    {
        call({"resize-window", "-x", columns, "-y", rows});
    }
    static void type(const std::string& keys) { call({"send-keys", keys}); }

    /// Whether it shows this text, or does within some seconds.
    static bool shows(const std::string& text)
    {
        return waitFor([&] { return screen().find(text) != std::string::npos; }, std::chrono::seconds(10));
    }
    static std::string screen() { return call({"capture-pane", "-p"}); }
    /// Whether anything on it is coloured or bold.
    static bool hasColours() { return call({"capture-pane", "-p", "-e"}).find("\x1b[") != std::string::npos; }

private:
    static std::string call(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"tmux", "-S", "/tmp/tmux", "-f", "/dev/null"});
        return runProgram(arguments, {{"LC_ALL", "C.UTF-8"}, {"TERM", "screen"}}).output;
    }
};

/// What the threads of a process have slept and run.
std::string activityOf(const fs::path& process)
{
    std::string result;
    std::error_code failure;
    for (const auto& thread : fs::directory_iterator(process / "task", failure)) {
        std::istringstream lines(Files::content(thread.path() / "status"));
        for (std::string line; std::getline(lines, line);) {
            if (line.find("ctxt_switches") != std::string::npos) {
                result += line + ' ';
            }
        }
    }
    return result;
}

/// Of every client that runs here.
std::string activity()
{
    std::string result;
    for (const auto& process : fs::directory_iterator("/proc")) {
        if (Files::content(process.path() / "comm") == "vrmountctl\n") {
            result += process.path().filename().string() + ": " + activityOf(process.path()) + '\n';
        }
    }
    return result;
}

/// Whether nothing moves for longer than a client waits for calm drives.
bool becomesCalm()
{
    using Clock = std::chrono::steady_clock;
    constexpr auto While = std::chrono::seconds(2);
    std::string before;
    auto since = Clock::now();
    return waitFor(
        [&] {
            const std::string now = activity();
            if (now != std::exchange(before, now)) {
                since = Clock::now();
            }
            return Clock::now() - since > While;
        },
        std::chrono::seconds(20));
}

std::vector<std::string> lines(const std::string& file)
{
    std::istringstream content(Files::content(file));
    std::vector<std::string> result;
    for (std::string line; std::getline(content, line);) {
        result.push_back(line);
    }
    return result;
}

std::string lastLine(const std::string& file)
{
    const std::vector<std::string> all = lines(file);
    return all.empty() ? std::string() : all.back();
}

bool isTerminalMissing()
{
    return QStandardPaths::findExecutable(QStringLiteral("tmux")).isEmpty();
}

} // namespace

/// `vrmountctl list --watch`.
class WatchTest : public MachineTest
{
protected:
    WatchTest()
    {
        machine.addInternal("sda1", Images::ntfs("windows", "Windows", {"Windows/"}));
        machine.addUnplugged("sdb1", Images::ext4("stick", "STICK"));
    }
    const std::string command = std::string(VRMOUNTCTL) + " list --watch";
};

TEST_F(WatchTest, DrawsATerminalAnewWhenAStickComesAndGoesOrItsSizeChanges)
{
    if (isTerminalMissing()) {
        GTEST_SKIP() << "tmux is not installed";
    }
    start();
    const Terminal terminal(command);
    EXPECT_TRUE(Terminal::shows("/media/C:  /dev/sda1  ntfs")) << Terminal::screen();
    EXPECT_THAT(Terminal::screen(), StartsWith("DIRECTORY  DEVICE "));
    machine.plug("sdb1");
    EXPECT_TRUE(Terminal::shows("/media/STICK  /dev/sdb1  ext4")) << Terminal::screen();
    Terminal::resize("30", "2");
    EXPECT_TRUE(Terminal::shows("\n... 2 more\n")) << Terminal::screen();
    Terminal::resize("100", "12");
    EXPECT_TRUE(Terminal::shows("/media/STICK  /dev/sdb1  ext4")) << Terminal::screen();
    machine.unplug("sdb1");
    EXPECT_TRUE(waitFor([] { return Terminal::screen().find("sdb1") == std::string::npos; }));
    Terminal::type("C-c");
    EXPECT_TRUE(Terminal::shows("ended with 0")) << Terminal::screen();
    EXPECT_THAT(Terminal::screen(), Not(HasSubstr("DIRECTORY")));
    stop();
}

TEST_F(WatchTest, HasColoursOnATerminalUnlessSomebodyMinds)
{
    if (isTerminalMissing()) {
        GTEST_SKIP() << "tmux is not installed";
    }
    start();
    for (const auto& [setting, isColoured] :
         {std::pair("", true), std::pair("NO_COLOR= ", true), std::pair("NO_COLOR=1 ", false)}) {
        const Terminal terminal(std::string(setting) + VRMOUNTCTL + " list");
        EXPECT_TRUE(Terminal::shows("ended with 0")) << Terminal::screen();
        EXPECT_EQ(Terminal::hasColours(), isColoured) << setting;
    }
    stop();
}

TEST_F(WatchTest, WritesEachListOnceWhereNobodyLooks)
{
    start();
    const std::string output = "/tmp/lines";
    Process watch({"sh", "-c", "exec " + command + " --json >" + output});
    EXPECT_TRUE(waitFor([&] { return lines(output).size() == 1; }));
    MachineProvider::set("sda1", "IdVersion", "1"); // nothing that is listed
    ASSERT_TRUE(becomesCalm());
    machine.plug("sdb1");
    EXPECT_TRUE(waitFor([&] { return Files::content(output).find("/media/STICK") != std::string::npos; }));
    machine.unplug("sdb1");
    EXPECT_TRUE(waitFor([&] { return lastLine(output).find("STICK") == std::string::npos; }));
    watch.send(SIGTERM);
    EXPECT_EQ(watch.waitForEnd(), 0);
    EXPECT_THAT(Files::content(output), Not(HasSubstr("\x1b")));
    const std::vector<std::string> lists = lines(output);
    EXPECT_EQ(std::adjacent_find(lists.begin(), lists.end()), lists.end());
    stop();
}

TEST_F(WatchTest, AsksNoVolumeThatTheServiceIsAboutToMount)
{
    machine.addUnplugged("sdc1", Images::ntfs("slow", "SLOW"));
    const Process::Environment environment = StandIn::environment();
    StandIn::make("ntfs-3g", "sleep 0.5\nexec /usr/bin/ntfs-3g \"$@\"\n");
    StandIn::make("ntfs-3g.probe", "touch /tmp/asked\nexec /usr/bin/ntfs-3g.probe \"$@\"\n");
    start({"log=10"}, environment);
    const std::string output = "/tmp/lines";
    const Process watch({"sh", "-c", "exec " + command + " --json >" + output}, "/dev/null", environment);
    EXPECT_TRUE(waitFor([&] { return lines(output).size() == 1; }));
    machine.plug("sdc1");
    EXPECT_TRUE(waitFor([&] { return lastLine(output).find("/media/SLOW") != std::string::npos; }));
    EXPECT_FALSE(fs::exists("/tmp/asked"));
    ASSERT_EQ(umount("/media/SLOW"), 0);
    EXPECT_TRUE(waitFor([] { return fs::exists("/tmp/asked"); }));
    // Asking makes udev announce a change: it is not to lead to the next question.
    ASSERT_TRUE(becomesCalm());
    fs::remove("/tmp/asked");
    MachineProvider::set("sdc1", "IdVersion", "1");
    ASSERT_TRUE(becomesCalm());
    EXPECT_FALSE(fs::exists("/tmp/asked"));
    stop();
}

TEST_F(WatchTest, AsksAgainWhatItKnewBeforeADriveChanged)
{
    const std::string image = Images::ntfs("sleeping", "Sleeping", {"Windows/"});
    Images::hibernate(image);
    machine.addInternal("sda2", image);
    start();
    const std::string output = "/tmp/lines";
    const Process watch({"sh", "-c", "exec " + command + " --json >" + output});
    EXPECT_TRUE(waitFor([&] { return lastLine(output).find("\"hibernated\"") != std::string::npos; }));
    EXPECT_EQ(Listing::client({"remount", "/media/D:", "remove_hiberfile"}).status, 0);
    EXPECT_EQ(Listing::client({"remount", "/media/D:", "ro"}).status, 0);
    MachineProvider::set("sda1", "IdVersion", "1"); // and then something less
    EXPECT_TRUE(waitFor([&] { return lastLine(output).find("\"requested\"") != std::string::npos; }))
        << lastLine(output);
    stop();
}

TEST_F(WatchTest, SeesThatTheServiceHasArrangedTheDrivesThoughNothingWasMounted)
{
    expectQuotedWarning("WARNING ntfs-3g: 0x100");
    expectQuotedWarning("ERROR ntfs-3g: 0x100");
    machine.start();
    const Process::Environment environment = StandIn::environment();
    StandIn::makeDriverThatWaits("exit 1\n");
    Service service({"log=10"}, environment);
    ASSERT_TRUE(waitFor([] { return fs::exists("/tmp/driving"); }));
    const std::string output = "/tmp/lines";
    const Process watch({"sh", "-c", "exec " + command + " --json >" + output});
    EXPECT_TRUE(waitFor([&] { return lastLine(output).find("\"arranging\"") != std::string::npos; }));
    Files::write("/tmp/go", "");
    EXPECT_TRUE(waitFor([&] { return lastLine(output).find("\"not-mounted\"") != std::string::npos; }))
        << lastLine(output);
    EXPECT_EQ(service.stop(SIGTERM), 0);
}

TEST_F(WatchTest, EndsWhenNobodyReadsItAnyMore)
{
    start();
    const ProcessResult result = runProgram({"sh", "-c", command + " | head -n 1"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, StartsWith("DIRECTORY"));
    EXPECT_TRUE(waitFor([] { return activity().empty(); }));
    stop();
}

TEST_F(WatchTest, SleepsWhileNothingHappens)
{
    start();
    const std::string output = "/tmp/lines";
    const Process watch({"sh", "-c", "exec " + command + " >" + output});
    EXPECT_TRUE(waitFor([&] { return lines(output).size() > 1; }));
    ASSERT_TRUE(becomesCalm());
    // It hears the provider when a change there wakes it.
    const std::string deaf = activity();
    ASSERT_TRUE(waitFor([&] {
        MachineProvider::set("sda1", "IdVersion", "1");
        return activity() != deaf;
    }));
    ASSERT_TRUE(becomesCalm());
    const std::string before = activity();
    std::this_thread::sleep_for(std::chrono::seconds(10));
    EXPECT_EQ(activity(), before);
    stop();
}
