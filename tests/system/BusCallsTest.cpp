#include "tests/support/BusTraffic.h"
#include "tests/system/SystemTest.h"

namespace {

struct Case
{
    const char* name;
    const char* level;
    int questions; ///< about each of two partitions that are not mounted in the end
};

} // namespace

class BusCallsTest : public MachineTest, public testing::WithParamInterface<Case>
{
};

/// Major number and whether it is a partition, then its type and its mount paths; and the dump's twenty.
TEST_P(BusCallsTest, PropertiesAreAskedForTheDumpOnlyWhenTheLogTakesIt)
{
    machine.addInternal("sda1", "");
    machine.addInternal("sda2", "");
    machine.start();
    BusTraffic traffic;
    Service service({GetParam().level});
    ASSERT_TRUE(service.isReady());
    ASSERT_EQ(service.stop(SIGTERM), 0);
    BusTraffic::Calls calls = traffic.calls();
    EXPECT_EQ(calls["Get"].answered, 2 * GetParam().questions);
    EXPECT_EQ(calls["EnumerateDevices"].answered, 1);
}

INSTANTIATE_TEST_SUITE_P(Levels, BusCallsTest,
                         testing::Values(Case{"Default", "none", 4}, Case{"Six", "log=6", 4},
                                         Case{"Negative", "log=-1", 4}, Case{"Debug", "log=7", 24},
                                         Case{"Trace", "log=10", 24}),
                         [](const auto& testCase) { return testCase.param.name; });
