#include "client/Inquiry.h"

#include <csignal>
#include <optional>

#include <gmock/gmock.h>

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
    EXPECT_EQ(ask([]() -> std::string { throw std::runtime_error("no"); }, 5s), std::nullopt);
    EXPECT_EQ(ask([]() -> std::string { _exit(0); }, 5s), std::nullopt);
    EXPECT_EQ(ask(
                  []() -> std::string {
                      raise(SIGKILL);
                      return "not reached";
                  },
                  5s),
              std::nullopt);
}

TEST(Inquiry, WaitsForAnAnswerOnlySoLong)
{
    const auto start = Clock::now();
    EXPECT_EQ(ask(&neverAnswer, 50ms), std::nullopt);
    EXPECT_GE(Clock::now() - start, 50ms);
    EXPECT_LT(Clock::now() - start, 2s);
}

TEST(Inquiry, CutsAnAnswerThatIsTooLong)
{
    EXPECT_EQ(ask([] { return std::string(100000, 'x'); }, 5s), std::string(4095, 'x'));
}

TEST(Inquiry, HoldsNoneOfTheCallersStreams)
{
    const auto nameOfOutput = [] {
        std::string name(100, '\0');
        name.resize(static_cast<std::size_t>(readlink("/proc/self/fd/1", name.data(), name.size())));
        return name;
    };
    EXPECT_EQ(ask(nameOfOutput, 5s), "/dev/null");
}

} // namespace
