#include "client/survey/Inquiry.h"

#include <csignal>
#include <optional>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using Clock = Inquiry::Clock;

std::optional<std::string> ask(const std::function<std::string()>& question, std::chrono::milliseconds bound)
{
    return Inquiry(question).answer(Clock::now() + bound);
}

std::string neverAnswer()
{
    while (true) {
        pause();
    }
}

TEST(Inquiry, BringsTheAnswer)
{
    EXPECT_EQ(ask([] { return std::string("two\nlines \xff"); }, 5s), "two\nlines \xff");
    EXPECT_EQ(ask([] { return std::string(); }, 5s), "");
}

TEST(Inquiry, HasNoAnswerToAQuestionThatFails)
{
    const auto start = Clock::now();
    EXPECT_EQ(ask([]() -> std::string { throw std::runtime_error("no"); }, 5s), std::nullopt);
    EXPECT_EQ(ask([]() -> std::string { _exit(0); }, 5s), std::nullopt);
    EXPECT_EQ(ask(
                  []() -> std::string {
                      raise(SIGKILL);
                      return "not reached";
                  },
                  5s),
              std::nullopt);
    EXPECT_LT(Clock::now() - start, 5s) << "it waits although nobody can answer";
}

TEST(Inquiry, WaitsForAnAnswerOnlySoLong)
{
    const auto start = Clock::now();
    EXPECT_EQ(ask(&neverAnswer, 50ms), std::nullopt);
    EXPECT_GE(Clock::now() - start, 50ms);
    EXPECT_LT(Clock::now() - start, 2s);
}

TEST(Inquiry, DoesNotWaitWhenTheTimeIsAlreadyOver)
{
    const auto start = Clock::now();
    EXPECT_EQ(ask(&neverAnswer, -1s), std::nullopt);
    EXPECT_LT(Clock::now() - start, 2s);
}

/// Holds the other end of a pipe: whoever reads it sees when all processes of this object have ended.
class Lifeline
{
public:
    Lifeline() { EXPECT_EQ(pipe2(_ends, O_CLOEXEC), 0); }
    ~Lifeline()
    {
        letGo();
        close(_ends[0]);
    }
    Lifeline(const Lifeline&) = delete;
    Lifeline& operator=(const Lifeline&) = delete;

    void letGo()
    {
        close(_ends[1]);
        _ends[1] = -1;
    }
    bool ends() const
    {
        pollfd end{_ends[0], POLLIN, 0};
        return poll(&end, 1, 5000) == 1;
    }

private:
    int _ends[2] = {-1, -1};
};

TEST(Inquiry, EndsItsProcessWhenItIsNoLongerAsked)
{
    Lifeline lifeline;
    {
        const Inquiry inquiry(&neverAnswer);
    }
    lifeline.letGo();
    EXPECT_TRUE(lifeline.ends());
}

TEST(Inquiry, EndsItsProcessWhenTheOneThatAsksDies)
{
    Lifeline lifeline;
    const pid_t asking = fork();
    if (asking == 0) {
        Inquiry inquiry([]() -> std::string { return neverAnswer(); });
        inquiry.answer(Clock::now() + 200ms);
        _exit(0);
    }
    waitpid(asking, nullptr, 0);
    lifeline.letGo();
    EXPECT_TRUE(lifeline.ends());
}

TEST(Inquiry, BringsALongAnswerWholeOrNotAtAll)
{
    const std::string longest(Inquiry::MaxAnswer, 'x');
    EXPECT_EQ(ask([&] { return longest; }, 5s), longest);
    EXPECT_EQ(ask([&] { return longest + 'x'; }, 5s), std::nullopt);
}

TEST(Inquiry, KeepsTheAnswersThatCameBeforeOneThatNeverComes)
{
    const auto question = [](const char* answer) { return [answer] { return std::string(answer); }; };
    Inquiry inquiry({question("1:a"), []() -> std::string { throw std::runtime_error("no"); }, question(""),
                     &neverAnswer, question("b")});
    const Inquiry::Answers answers = inquiry.answers(Clock::now() + 300ms);
    EXPECT_THAT(answers, testing::ElementsAre("1:a", std::nullopt, "", std::nullopt, std::nullopt));
    EXPECT_TRUE(inquiry.isLate());
}

TEST(Inquiry, DistinguishesAnAnswerThatIsLateFromNone)
{
    Inquiry late(&neverAnswer);
    EXPECT_EQ(late.answer(Clock::now() + 20ms), std::nullopt);
    EXPECT_TRUE(late.isLate());
    Inquiry refused([]() -> std::string { throw std::runtime_error("no"); });
    EXPECT_EQ(refused.answer(Clock::now() + 5s), std::nullopt);
    EXPECT_FALSE(refused.isLate());
    Inquiry answered([] { return std::string("yes"); });
    EXPECT_EQ(answered.answer(Clock::now() + 5s), "yes");
    EXPECT_FALSE(answered.isLate());
}

TEST(Inquiry, HoldsNoneOfTheCallersStreams)
{
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const auto accessAndName = [number] {
            std::string name(100, '\0');
            const std::string link = "/proc/self/fd/" + std::to_string(number);
            name.resize(static_cast<std::size_t>(readlink(link.c_str(), name.data(), name.size())));
            return std::to_string(fcntl(number, F_GETFL) & O_ACCMODE) + name;
        };
        EXPECT_EQ(ask(accessAndName, 5s), std::to_string(O_RDWR) + "/dev/null") << number;
    }
}

} // namespace
