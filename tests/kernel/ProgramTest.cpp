#include "kernel/Program.h"

#include <csignal>
#include <fstream>

#include <gmock/gmock.h>

#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/WaitFor.h"

TEST(ProgramTest, IsInstalledWhereTheSystemsToolsAreThoughThePathLeavesThemOut)
{
    const std::string path = getenv("PATH");
    setenv("PATH", "/nowhere", 1);
    EXPECT_TRUE(Program::isInstalled("sh"));
    EXPECT_FALSE(Program::isInstalled("no such program"));
    unsetenv("PATH");
    EXPECT_TRUE(Program::isInstalled("sh"));
    setenv("PATH", path.c_str(), 1);
}

TEST(ProgramTest, GivesItsExitStatus)
{
    EXPECT_EQ(Program::run({"true"}), 0);
    EXPECT_EQ(Program::run({"sh", "-c", "exit $1", "sh", "14"}), 14);
    EXPECT_EQ(Program::run({"no such program"}), std::nullopt);
    EXPECT_EQ(Program::run({"sh", "-c", "kill -KILL $$"}), std::nullopt);
}

TEST(ProgramTest, HasNoStreamOfItsCaller)
{
    const std::string script = "for stream in 0 1 2; do "
                               "[ \"$(readlink /proc/$$/fd/$stream)\" = /dev/null ] || exit 1; done";
    EXPECT_EQ(Program::run({"sh", "-c", script}), 0);
}

TEST(ProgramTest, EndsWithItsCaller)
{
    const TemporaryDirectory directory;
    const std::string file = directory.path() + "/id";
    const pid_t caller = fork();
    if (caller == 0) {
        Program::run({"sh", "-c", "echo $$ >\"$1\"; exec sleep 60", "sh", file});
        _exit(0);
    }
    pid_t program = 0;
    EXPECT_TRUE(waitFor([&] { return bool(std::ifstream(file) >> program); }));
    kill(caller, SIGKILL);
    waitpid(caller, nullptr, 0);
    // A zombie that nobody reaps here is gone too.
    EXPECT_TRUE(waitFor([&] {
        std::string name;
        return !std::getline(std::ifstream("/proc/" + std::to_string(program) + "/cmdline"), name, '\0') ||
               name.empty();
    }));
}
