#include <cerrno>
#include <csignal>
#include <vector>

#include <gmock/gmock.h>

#include "process/SignalRelay.h"
#include "process/StopRequest.h"
#include "tests/support/WaitFor.h"

using testing::ElementsAre;

namespace {

TEST(SignalRelay, BringsEachSignalIntoTheEventLoopInOrder)
{
    const SignalRelay relay;
    std::vector<int> caught;
    QObject::connect(&relay, &SignalRelay::caught, [&](int number) { caught.push_back(number); });
    EXPECT_FALSE(StopRequest::isMade());
    for (const int number : {SIGINT, SIGTERM, SIGQUIT}) {
        raise(number);
    }
    EXPECT_TRUE(StopRequest::isMade());
    EXPECT_TRUE(caught.empty());
    EXPECT_TRUE(waitFor([&] { return caught.size() == 3; }));
    EXPECT_THAT(caught, ElementsAre(2, 15, 3));
}

TEST(SignalRelay, SurvivesMoreSignalsThanThePipeHolds)
{
    const SignalRelay relay;
    for (int i = 0; i < 70000; ++i) {
        raise(SIGTERM);
    }
    errno = ENOENT;
    raise(SIGTERM);
    EXPECT_EQ(errno, ENOENT) << "a handler leaves the errno of what it interrupts";
    bool caught = false;
    QObject::connect(&relay, &SignalRelay::caught, [&](int) { caught = true; });
    EXPECT_TRUE(waitFor([&] { return caught; }));
}

} // namespace
