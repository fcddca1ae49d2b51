#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "log/Logger.h"
#include "tests/support/PrivateBus.h"
#include "tests/system/Machine.h"
#include "tests/system/Service.h"

/// A test of the shipped program on a message bus of its own. It runs in tests/support/sandbox only, and is
/// skipped with the reason where something is missing that the system tests need.
///
/// The service's log is output under test: what it holds at warning level or above has to be announced,
/// except for the lines that every start writes.
class SystemTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// Announces a message that the service is to write once at warning level.
    void expectWarning(const std::string& message) { _announced.push_back(message); }
    /// The same for a string value, which the log shows between double quotes.
    void expectQuotedWarning(const std::string& text) { expectWarning(ServiceLog::quoted(text)); }

    /// Mounts something that the service knows nothing of, with the source "foreign".
    static void mountForeign(const std::string& directory);

    /// From here on there is no system bus.
    void removeBus() { _bus.reset(); }

private:
    std::unique_ptr<PrivateBus> _bus;
    std::vector<std::string> _announced;
};

/// A test of the shipped program on a simulated machine.
class MachineTest : public SystemTest
{
protected:
    /// Starts the machine and the service; the test fails if the drives are not arranged then.
    void start(const std::vector<std::string>& arguments = {"log=10"},
               const Process::Environment& environment = {});
    /// The same on a machine that has been started.
    void startService(const std::vector<std::string>& arguments = {"log=10"},
                      const Process::Environment& environment = {});
    /// Ends the service in the usual way.
    void stop();
    Service& service() { return *_service; }

    Machine machine;

private:
    std::unique_ptr<Service> _service;
};
