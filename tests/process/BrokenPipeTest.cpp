#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "process/BrokenPipe.h"

namespace {

/// Whatever was blocked or ignored before, by a library for instance.
TEST(BrokenPipe, IsAnErrorOfTheWriteWhateverWasDoneAboutItsSignalBefore)
{
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    for (const auto& disposition : {SIG_DFL, SIG_IGN}) {
        for (const int how : {SIG_BLOCK, SIG_UNBLOCK}) {
            signal(SIGPIPE, disposition);
            pthread_sigmask(how, &brokenPipe, nullptr);
            makeBrokenPipesErrors();
            std::array<int, 2> ends{};
            ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
            close(ends[0]);
            EXPECT_EQ(write(ends[1], "x", 1), -1);
            EXPECT_EQ(errno, EPIPE);
            close(ends[1]);
        }
    }
}

TEST(BrokenPipe, KillsAProgramThatIsStartedAsItWouldFromAShell)
{
    signal(SIGPIPE, SIG_IGN);
    makeBrokenPipesErrors();
    // NOLINTNEXTLINE(cert-env33-c)
    EXPECT_EQ(std::system("sh -c 'kill -PIPE $$; exit 0'; test $? = $((128 + 13))"), 0);
}

} // namespace
