#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <sys/prctl.h>
#include <sys/wait.h>

#include "tests/support/Files.h"
#include "tests/support/WaitFor.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

std::vector<std::string> argumentsOf(pid_t process)
{
    std::istringstream all(Files::content("/proc/" + std::to_string(process) + "/cmdline"));
    std::vector<std::string> result;
    std::string argument;
    while (std::getline(all, argument, '\0')) {
        result.push_back(argument);
    }
    return result;
}

std::vector<pid_t> runningServices()
{
    std::vector<pid_t> result;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::error_code ignored;
        if (fs::read_symlink(entry.path() / "exe", ignored) == Service::program()) {
            result.push_back(std::stoi(entry.path().filename()));
        }
    }
    return result;
}

/// The exit status of a process that was left behind to this one.
std::optional<int> statusOf(pid_t process)
{
    int status = 0;
    const bool ended = waitFor([&] { return waitpid(process, &status, WNOHANG) == process; });
    return ended && WIFEXITED(status) ? std::optional<int>(WEXITSTATUS(status)) : std::nullopt;
}

} // namespace

class LaunchTest : public SystemTest
{
protected:
    void SetUp() override
    {
        SystemTest::SetUp();
        // The launcher's copy becomes a child of this process, so that its status can be read.
        prctl(PR_SET_CHILD_SUBREAPER, 1);
    }

    static ProcessResult launch(std::vector<std::string> command) { return runProgram(std::move(command)); }
};

TEST_F(LaunchTest, FirstStartLeavesOneDetachedServiceWhoseIdStandsInThePidFile)
{
    ASSERT_EQ(launch({Service::program(), "log=10", "a b", ""}).status, 0);

    const std::string id = Files::content(Paths::PidFile);
    ASSERT_THAT(id, MatchesRegex("[1-9][0-9]*"));
    const pid_t service = std::stoi(id);
    EXPECT_THAT(runningServices(), ElementsAre(service));
    EXPECT_THAT(argumentsOf(service), ElementsAre(Service::program(), "log=10", "a b", ""));
    EXPECT_EQ(fs::read_symlink("/proc/" + id + "/cwd"), "/");
    EXPECT_TRUE(waitFor([=] { return Service::isListening(service); }));
    EXPECT_EQ(ServiceLog::count("\"Set default log level: 10\""), 1) << "the launcher logs nothing";

    kill(service, SIGTERM);
    EXPECT_EQ(statusOf(service), 0);
    EXPECT_FALSE(fs::exists(Paths::PidFile));
    EXPECT_FALSE(fs::exists(Paths::CommandSocket));
}

TEST_F(LaunchTest, StalePidFileMakesTheNextStartTheServiceInTheForeground)
{
    for (const std::string stale : {"", "4711"}) {
        std::ofstream(Paths::PidFile) << stale;
        Service service;
        ASSERT_TRUE(service.isReady());
        EXPECT_EQ(Files::content(Paths::PidFile), stale);
        EXPECT_THAT(runningServices(), ElementsAre(service.id()));
        EXPECT_EQ(service.stop(SIGTERM), 0);
        EXPECT_FALSE(fs::exists(Paths::PidFile));
    }
}

TEST_F(LaunchTest, RelativeProgramPathCannotBeStartedFromTheRootDirectory)
{
    fs::current_path(fs::path(Service::program()).parent_path());
    EXPECT_EQ(launch({"./" + fs::path(Service::program()).filename().string()}).status, 255);
    EXPECT_TRUE(fs::exists(Paths::PidFile));
    EXPECT_EQ(Files::content(Paths::PidFile), "");
    EXPECT_EQ(ServiceLog::raw(), "");
}

TEST_F(LaunchTest, EachSignalEndsTheServiceWithStatusZero)
{
    for (const int signalNumber : {SIGINT, SIGTERM, SIGQUIT}) {
        Service service;
        ASSERT_TRUE(service.isReady());
        EXPECT_EQ(service.stop(signalNumber), 0) << signalNumber;
        EXPECT_EQ(ServiceLog::count("\"Signal caught: " + std::to_string(signalNumber) + "\""), 1);
        EXPECT_FALSE(fs::exists(Paths::PidFile));
        EXPECT_FALSE(fs::exists(Paths::CommandSocket));
    }
}

TEST_F(LaunchTest, SeveralSignalsAtOnceEndTheServiceOnce)
{
    Service service;
    ASSERT_TRUE(service.isReady());
    for (const int signalNumber : {SIGTERM, SIGINT, SIGQUIT, SIGTERM, SIGINT}) {
        service.send(signalNumber);
    }
    EXPECT_EQ(service.waitForEnd(std::chrono::seconds(3)), 0);
    EXPECT_FALSE(fs::exists(Paths::PidFile));
}

struct LevelCase
{
    const char* name;
    std::vector<std::string> arguments;
    int level;
    bool showsDefaultLevel;
    bool showsRunning;
    bool showsTrace;
};

class LogLevelTest : public LaunchTest, public testing::WithParamInterface<LevelCase>
{
};

TEST_P(LogLevelTest, FiltersTheLog)
{
    const LevelCase& expected = GetParam();
    Service service(expected.arguments);
    ASSERT_TRUE(service.isReady());
    ASSERT_EQ(service.stop(SIGTERM), 0);

    const std::string level = "\"Set default log level: " + std::to_string(expected.level) + '"';
    EXPECT_EQ(ServiceLog::count(level), expected.showsDefaultLevel ? 1 : 0);
    EXPECT_EQ(ServiceLog::raw().find("\"Running: DriveManager (v1.1.3) - Build date: [") != std::string::npos,
              expected.showsRunning);
    EXPECT_EQ(!ServiceLog::messages(Vorna::Trace).empty(), expected.showsTrace);
    EXPECT_EQ(ServiceLog::count("\"Application argument: " + Service::program() + '"'), 1)
        << "the first argument is filtered by the default level";
}

INSTANTIATE_TEST_SUITE_P(Arguments, LogLevelTest,
                         testing::Values(LevelCase{"None", {}, 5, true, false, false},
                                         LevelCase{"Five", {"log=5"}, 5, true, false, false},
                                         LevelCase{"Four", {"log=4"}, 4, false, false, false},
                                         LevelCase{"Seven", {"log=7"}, 7, true, true, false},
                                         LevelCase{"Ten", {"log=10"}, 10, true, true, true},
                                         LevelCase{"Garbage", {"log=loud"}, 0, false, false, false},
                                         LevelCase{"Negative", {"log=-1"}, -1, false, false, false},
                                         LevelCase{"Huge", {"log=999"}, 999, true, true, true},
                                         LevelCase{"WordBefore", {"xlog=7"}, 0, false, false, false},
                                         LevelCase{"DigitBefore", {"1log=0"}, 10, true, true, true},
                                         LevelCase{"OtherCase", {"LOG=10"}, 5, true, false, false},
                                         LevelCase{
                                             "LaterOverrides", {"log=10", "log=7"}, 7, true, true, false}),
                         [](const auto& testCase) { return testCase.param.name; });

TEST_F(LaunchTest, ArgumentsAreLoggedAtTheLevelInForceBeforeThem)
{
    Service service({"log=2", "unseen", "log=7", "seen"});
    ASSERT_TRUE(service.isReady());
    ASSERT_EQ(service.stop(SIGTERM), 0);
    EXPECT_EQ(ServiceLog::count("\"Application argument: log=2\""), 1);
    EXPECT_EQ(ServiceLog::count("\"Application argument: unseen\""), 0);
    EXPECT_EQ(ServiceLog::count("\"Application argument: log=7\""), 0);
    EXPECT_EQ(ServiceLog::count("\"Application argument: seen\""), 1);
}

TEST_F(LaunchTest, ServiceIntroducesItselfAfterItsLevelIsSet)
{
    Service service({"log=10"});
    ASSERT_TRUE(service.isReady());
    ASSERT_EQ(service.stop(SIGTERM), 0);
    std::vector<std::string> beginning;
    for (const LogWatch::Line& line : ServiceLog::lines()) {
        beginning.push_back(line.source + " " + line.message);
    }
    beginning.resize(5);
    EXPECT_THAT(
        beginning,
        ElementsAre("qWarning \"Application argument: " + Service::program() + "\" ",
                    "qWarning \"Application argument: log=10\" ", "qWarning \"Set default log level: 10\" ",
                    MatchesRegex("main\\.cpp \\[[0-9]+\\]main"),
                    MatchesRegex("qDebug \"Running: DriveManager \\(v1\\.1\\.3\\) - Build date: "
                                 "\\[[A-Z][a-z][a-z] [ 0-9][0-9] [0-9]{4} / [0-9]{2}:[0-9]{2}:[0-9]{2}\\] - "
                                 "Qt version: \\[5\\.[0-9]+\\.[0-9]+\\]\" ")));
}

TEST_F(LaunchTest, OperationsAreTracedInTheOrderOfTheirCalls)
{
    Service service;
    ASSERT_TRUE(service.isReady());
    ASSERT_EQ(service.stop(SIGTERM), 0);
    std::vector<std::string> operations;
    for (const LogWatch::Line& line : ServiceLog::lines()) {
        if (line.level == Vorna::Trace && line.source == "DriveManager.cpp") {
            operations.push_back(line.message.substr(line.message.find(']') + 1));
        }
    }
    EXPECT_THAT(operations,
                ElementsAre("instance", "DriveManager", "startUp", "instance", "shutdown", "~DriveManager"));
}
