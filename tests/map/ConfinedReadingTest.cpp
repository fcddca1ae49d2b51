#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <grp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "map/reader/ConfinedReading.h"
#include "map/reader/Confinement.h"
#include "tests/support/Files.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr std::size_t Longest = 100000;

class ConfinedReadingTest : public testing::Test
{
protected:
    ConfinedReadingTest() { Files::write(device, "content of the device"); }

    ReadingTask task(const ReadingTask::Work& work) const
    {
        return {device, [work] { return work; }};
    }
    ReadingOutcome outcomeOf(const ReadingTask::Work& work, std::chrono::milliseconds bound = 10s) const
    {
        return carryOut({task(work)}, bound, Longest).front();
    }
    /// The answer of a process that has not been ended for what it did.
    std::string answerOf(const ReadingTask::Work& work) const
    {
        const ReadingOutcome outcome = outcomeOf(work);
        EXPECT_TRUE(outcome.isAnswered) << outcome.text;
        return outcome.text;
    }
    /// Whether a process is ended for what it does.
    bool isFatal(const std::function<void()>& deed) const
    {
        const ReadingOutcome outcome = outcomeOf([deed] {
            deed();
            return std::string();
        });
        return !outcome.isAnswered && outcome.text == "the process that reads it died: Bad system call";
    }

    TemporaryDirectory directory;
    const std::string device = directory.path() + "/device";
};

std::string yesOrNo(bool is)
{
    return is ? "yes" : "no";
}

TEST_F(ConfinedReadingTest, BringsTheAnswersInTheOrderOfTheTasks)
{
    const auto say = [](std::string word) { return [word] { return word; }; };
    const std::vector<ReadingOutcome> outcomes =
        carryOut({task(say("one")), task(say("")), task(say(std::string(Longest, 'x')))}, 10s, Longest);
    ASSERT_EQ(outcomes.size(), 3U);
    EXPECT_EQ(outcomes[0].text, "one");
    EXPECT_EQ(outcomes[1].text, "");
    EXPECT_EQ(outcomes[2].text.size(), Longest);
    EXPECT_TRUE(outcomes[0].isAnswered && outcomes[1].isAnswered && outcomes[2].isAnswered);
    EXPECT_TRUE(carryOut({}, 10s, Longest).empty());
}

TEST_F(ConfinedReadingTest, ReadsTheDeviceAndCannotWriteToIt)
{
    EXPECT_EQ(answerOf([] {
                  char text[64] = {};
                  const ssize_t size = pread(Confinement::Device, text, sizeof text, 0);
                  return std::string(text, static_cast<std::size_t>(size));
              }),
              "content of the device");
    EXPECT_EQ(answerOf([] { return yesOrNo(write(Confinement::Device, "x", 1) == 1); }), "no");
    EXPECT_EQ(Files::content(device), "content of the device");
}

TEST_F(ConfinedReadingTest, SeesNothingButItsOwnDescriptors)
{
    for (const char* path : {"/etc/passwd", "/", "..", "/proc/self/maps", "/dev/null"}) {
        const std::string found = answerOf([path] { return yesOrNo(open(path, O_RDONLY) >= 0); });
        EXPECT_EQ(found, yesOrNo(path[1] == '\0' || path[1] == '.')) << path;
    }
    EXPECT_EQ(answerOf([] { return yesOrNo(open("../etc/passwd", O_RDONLY) >= 0); }), "no");
    EXPECT_EQ(answerOf([] { return yesOrNo(fcntl(Confinement::Memory + 1, F_GETFD) >= 0); }), "no");
    EXPECT_EQ(answerOf([] {
                  char text[8] = {};
                  const bool isWritten = write(Confinement::Memory, "registry", 8) == 8;
                  const int again = open(Confinement::MemoryPath, O_RDONLY);
                  return yesOrNo(isWritten && read(again, text, 8) == 8);
              }),
              "yes");
}

TEST_F(ConfinedReadingTest, IsEndedForAnyOtherSystemCall)
{
    EXPECT_TRUE(isFatal([] { socket(AF_UNIX, SOCK_STREAM, 0); }));
    EXPECT_TRUE(isFatal([] { socket(AF_INET, SOCK_STREAM, 0); }));
    EXPECT_TRUE(isFatal([] { fork(); }));
    EXPECT_TRUE(isFatal([] { execl("/bin/true", "true", nullptr); }));
    EXPECT_TRUE(isFatal([] { kill(getppid(), SIGTERM); }));
    EXPECT_TRUE(isFatal([] { unlink("x"); }));
    EXPECT_TRUE(isFatal([] { open("x", O_RDWR); }));
    EXPECT_TRUE(isFatal([] { open("x", O_RDONLY | O_CREAT, 0600); }));
    EXPECT_TRUE(
        isFatal([] { mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); }));
    EXPECT_TRUE(isFatal([] { setuid(0); }));
    EXPECT_FALSE(isFatal([] {}));
}

TEST_F(ConfinedReadingTest, IsNobodyForGood)
{
    std::string found;
    const ReadingTask nosy{device, [] {
                               std::string who = std::to_string(getuid()) + " " + std::to_string(geteuid());
                               who += " " + std::to_string(getgid()) + " " + std::to_string(getegid());
                               who += " " + std::to_string(getgroups(0, nullptr));
                               who += " " + std::to_string(setuid(0) == 0 ? 1 : 0);
                               who += " " + std::to_string(prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0));
                               return [who] { return who; };
                           }};
    EXPECT_EQ(carryOut({nosy}, 10s, Longest).front().text, "65534 65534 65534 65534 0 0 1");
}

TEST_F(ConfinedReadingTest, HasBoundsOnMemoryAndOutput)
{
    EXPECT_EQ(answerOf([] {
                  constexpr std::size_t TooMuch = 800UL << 20;
                  const void* memory =
                      mmap(nullptr, TooMuch, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                  return yesOrNo(memory != MAP_FAILED);
              }),
              "no");
    const ReadingOutcome large = outcomeOf([] { return std::string(Longest + 1, 'x'); });
    EXPECT_FALSE(large.isAnswered);
    EXPECT_EQ(large.text, "wrote too much");
    const ReadingOutcome registry = outcomeOf([] {
        const std::string piece(1 << 20, 'x');
        while (write(Confinement::Memory, piece.data(), piece.size()) > 0) {
        }
        return std::string();
    });
    EXPECT_EQ(registry.text, "the process that reads it died: File size limit exceeded");
}

TEST_F(ConfinedReadingTest, IsNotWaitedForLonger)
{
    const auto start = std::chrono::steady_clock::now();
    const std::vector<ReadingOutcome> outcomes = carryOut({task([]() -> std::string {
                                                               for (;;) {
                                                               }
                                                           }),
                                                           task([] { return std::string("in time"); })},
                                                          500ms, Longest);
    EXPECT_EQ(outcomes[0].text, "took too long");
    EXPECT_FALSE(outcomes[0].isAnswered);
    EXPECT_EQ(outcomes[1].text, "in time");
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST_F(ConfinedReadingTest, IsNotWaitedForWhenItClosesItsPipeAndLivesOn)
{
    const auto start = std::chrono::steady_clock::now();
    const ReadingOutcome outcome = outcomeOf([]() -> std::string {
        close(Confinement::Answer);
        for (;;) {
        }
    });
    EXPECT_FALSE(outcome.isAnswered);
    EXPECT_EQ(outcome.text, "took too long");
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST_F(ConfinedReadingTest, CostsOnlyItsOwnAnswerWhenItDies)
{
    const std::vector<ReadingOutcome> outcomes =
        carryOut({task([]() -> std::string { std::abort(); }), task([] { return std::string("lives"); }),
                  task([]() -> std::string { throw std::runtime_error("unforeseen"); })},
                 10s, Longest);
    EXPECT_FALSE(outcomes[0].isAnswered);
    EXPECT_THAT(outcomes[0].text, HasSubstr("died"));
    EXPECT_EQ(outcomes[1].text, "lives");
    EXPECT_FALSE(outcomes[2].isAnswered);
}

TEST_F(ConfinedReadingTest, SaysWhyADeviceCannotBeOpened)
{
    const ReadingTask none{directory.path() + "/none", [] { return ReadingTask::Work(); }};
    const ReadingOutcome outcome = carryOut({none}, 10s, Longest).front();
    EXPECT_FALSE(outcome.isAnswered);
    EXPECT_EQ(outcome.text, "cannot open " + directory.path() + "/none: No such file or directory");
}

} // namespace
