// The shipped provider under the packaged bus policy, and somebody without any rights who sends it whatever
// the bus lets pass.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include <unistd.h>

#include "tests/provider/HostileCalls.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/PrivateBus.h"

namespace fs = std::filesystem;
using namespace HostileCalls;

namespace {

constexpr uid_t Nobody = 65534;
constexpr unsigned Seed = 20261121;
constexpr int RandomCalls = 100000;
constexpr std::chrono::seconds UsualTime(1);
constexpr int WarmingUp = 1000;
#ifdef ADDRESS_SANITIZER
constexpr long MostGrowth = 512L * 1024; // KiB; what is freed is kept back to be watched
#else
constexpr long MostGrowth = 1024; // KiB
#endif
/// The room for an argument in the longest message that a bus lets pass, 32 MiB.
constexpr std::size_t LongestArgument = (32U << 20U) - 1000;

constexpr const char* Machine = "[sda1]\nIdLabel = DATA\n[sdb1]\nIdLabel = STICK\n[md_d0]\n"
                                "[stick]\nNode = sdc1\nPlugged = false\n";

/// The rules that a system bus starts from, with `replies`, and then the packaged ones.
std::string rules(const std::string& replies)
{
    return R"(<policy context="default">
        <allow user="*"/><deny own="*"/><deny send_type="method_call"/><allow send_type="signal"/>
        <allow receive_type="method_call"/><allow receive_type="signal"/>
        <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>)" +
           replies + "</policy><include>" BUS_POLICY "</include>";
}

const std::string SystemBus = rules(R"(
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_return"/><allow receive_type="error"/>)");

/// The system bus withholds replies that nobody wants. This one lets them through, for the tests to see.
const std::string BusWithEveryReply = rules(R"(
    <allow send_requested_reply="false" send_type="method_return"/>
    <allow send_requested_reply="false" send_type="error"/>
    <allow receive_requested_reply="false" receive_type="method_return"/>
    <allow receive_requested_reply="false" receive_type="error"/>)");

/// Errors by which the bus, and not the provider, answers: it is gone, or it was silent.
bool isTheEnd(const std::string& error)
{
    return error == Stranger::Silence || error == DBUS_ERROR_NO_REPLY ||
           error == DBUS_ERROR_SERVICE_UNKNOWN || error == DBUS_ERROR_NAME_HAS_NO_OWNER ||
           error == DBUS_ERROR_DISCONNECTED;
}

class HostileBusTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!PrivateBus::isAvailable()) {
            GTEST_SKIP() << "dbus-daemon is not installed";
        }
        if (geteuid() != 0) {
            GTEST_SKIP() << "needs root to be somebody else";
        }
        serveOn(SystemBus);
    }

    void serveOn(const std::string& busRules)
    {
        provider.reset();
        bus.reset();
        bus = std::make_unique<PrivateBus>(busRules);
        provider = std::make_unique<MachineProvider>(Machine);
        stranger = std::make_unique<Stranger>(bus->address(), Nobody);
        root = std::make_unique<Stranger>(bus->address(), 0);
        ask();
        descriptorsBefore = descriptors();
    }

    Stranger::Message message(const ForeignCall& call, const std::vector<std::string>& texts = words())
    {
        return Stranger::message(call, random, texts);
    }

    /// Asks a question that makes sense and notes how long its answer takes.
    void ask()
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(root->textOf(message({DaemonPath, Daemon, "FindDeviceByDeviceFile", "s"}, {"/dev/sda1"})),
                  DevicePath);
        slowest = std::max(slowest, std::chrono::steady_clock::now() - start);
    }

    void expectToBeServedAsEver()
    {
        ask();
        EXPECT_LT(slowest, UsualTime);
        EXPECT_TRUE(provider->process().isRunning());
        for (const auto& [error, count] : stranger->errors()) {
            EXPECT_FALSE(isTheEnd(error)) << error << " " << count << " times";
        }
        EXPECT_EQ(stranger->unwanted(), 0);
        EXPECT_EQ(descriptors(), descriptorsBefore);
    }

    /// KiB that the provider has in memory.
    long memory() const
    {
        std::ifstream file("/proc/" + std::to_string(provider->process().id()) + "/statm");
        long size = 0;
        long resident = 0;
        file >> size >> resident;
        return resident * sysconf(_SC_PAGESIZE) / 1024;
    }

    std::ptrdiff_t descriptors() const
    {
        std::error_code ignored;
        const fs::directory_iterator files("/proc/" + std::to_string(provider->process().id()) + "/fd",
                                           ignored);
        return std::distance(begin(files), end(files));
    }

    // The same calls in every run, so that a failure comes again.
    Stranger::Random random{Seed}; // NOLINT(cert-msc32-c,cert-msc51-cpp)
    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<MachineProvider> provider;
    std::unique_ptr<Stranger> stranger;
    std::unique_ptr<Stranger> root;
    std::ptrdiff_t descriptorsBefore = 0;
    std::chrono::steady_clock::duration slowest{};
};

} // namespace

TEST_F(HostileBusTest, EveryMemberOnEveryPathWithEveryArgumentsIsAnswered)
{
    int wanted = 0;
    for (const std::string& path : paths()) {
        for (const Member& member : members()) {
            for (const std::string& signature : signaturesFor(member)) {
                for (const bool wantsReply : {true, false}) {
                    stranger->send(message({path, member.interface, member.name, signature, wantsReply}));
                    wanted += wantsReply ? 1 : 0;
                }
            }
        }
    }
    stranger->settle();
    expectToBeServedAsEver();
    int answered = 0;
    for (const auto& [error, count] : stranger->errors()) {
        answered += count;
    }
    EXPECT_EQ(answered, wanted);
}

TEST_F(HostileBusTest, ACallThatWantsNoReplyGetsNone)
{
    serveOn(BusWithEveryReply);
    for (const std::string& path :
         {DaemonPath, DaemonPath + "/devices", DevicePath, DevicePath + "/below", MachinePath}) {
        for (const Member& member : members()) {
            // The bus library itself answers Peer, whether a reply is wanted or not.
            if (member.interface != DBUS_INTERFACE_PEER) {
                stranger->send(message({path, member.interface, member.name, member.signature, false}));
                stranger->send(message({path, member.interface, member.name, "ay", false}));
            }
        }
    }
    // Replies come in the order of the calls: with this one all others would be there.
    stranger->send(message({DaemonPath, Daemon, "EnumerateDevices", ""}));
    stranger->settle();
    expectToBeServedAsEver();
}

TEST_F(HostileBusTest, AHundredThousandRandomCallsChangeNothing)
{
    SCOPED_TRACE("the seed is " + std::to_string(Seed));
    for (int count = 0; count < WarmingUp; ++count) {
        stranger->send(randomMessage(random));
    }
    const long before = memory();
    for (int count = 0; count < RandomCalls && provider->process().isRunning(); ++count) {
        stranger->send(randomMessage(random));
        if (count % 1000 == 0) {
            ask();
        }
    }
    stranger->settle();
    expectToBeServedAsEver();
    EXPECT_LT(memory() - before, MostGrowth);
}

TEST_F(HostileBusTest, TheLargestCallsAreAnswered)
{
    const std::string longest(LongestArgument, 'x');
    const std::string manyTexts(255, 's');
    const std::string deepest = std::string(32, 'a') + "s";
    const long before = memory();
    const ForeignCall calls[] = {
        {DaemonPath, Daemon, "FindDeviceByDeviceFile", "s"},
        {DevicePath, Properties, "GetAll", "s"},
        {DevicePath, Properties, "Get", "ss"},
        {DevicePath, Device, "JobCancel", "s"},
        {DevicePath, Properties, "Get", deepest},
        {DevicePath, Device, "JobCancel", manyTexts},
    };
    for (const ForeignCall& call : calls) {
        const bool isLong = call.signature.size() < 3;
        const Stranger::Message large =
            message(call, {isLong ? longest.substr(0, LongestArgument / call.signature.size()) : "x"});
        EXPECT_FALSE(isTheEnd(stranger->call(large))) << call.member << "(" << call.signature << ")";
    }
    expectToBeServedAsEver();
    EXPECT_LT(memory() - before, MostGrowth);
}

TEST_F(HostileBusTest, OnlyRootSpeaksInTheNameOfUDisks)
{
    EXPECT_EQ(stranger->requestName("org.freedesktop.UDisks"), DBUS_ERROR_ACCESS_DENIED);
    EXPECT_EQ(root->requestName("org.freedesktop.UDisks"), "");
}

TEST_F(HostileBusTest, OnlyRootControlsAMachineWhileEverybodyReads)
{
    // By the packaged policy, and by the provider where the bus permits everything.
    for (const std::string& busRules : {SystemBus, std::string(PrivateBus::EverythingIsPermitted)}) {
        serveOn(busRules);
        for (const char* method : {"Plug", "Unplug", "Set"}) {
            const std::string signature = method == std::string("Set") ? "sss" : "s";
            for (const std::string& interface : {MachineInterface, std::string()}) {
                const ForeignCall call{MachinePath, interface, method, signature};
                EXPECT_EQ(stranger->call(message(call, {"stick"})), DBUS_ERROR_ACCESS_DENIED) << method;
            }
        }
        EXPECT_EQ(stranger->call(message({MachinePath, DBUS_INTERFACE_INTROSPECTABLE, "Introspect", ""})),
                  "");
        EXPECT_EQ(stranger->call(message({MachinePath, Properties, "GetAll", "s"}, {MachineInterface})), "");
        EXPECT_EQ(stranger->call(message({DaemonPath, Daemon, "FindDeviceByDeviceFile", "s"}, {"/dev/sdc1"})),
                  "org.freedesktop.UDisks.Error.Failed");
        EXPECT_EQ(root->call(message({MachinePath, MachineInterface, "Plug", "s"}, {"stick"})), "");
        EXPECT_EQ(stranger->call(message({DaemonPath, Daemon, "FindDeviceByDeviceFile", "s"}, {"/dev/sdc1"})),
                  "");
    }
}
