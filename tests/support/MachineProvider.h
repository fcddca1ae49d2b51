#pragma once

#include <string>
#include <vector>

#include "tests/support/Process.h"
#include "tests/support/TemporaryDirectory.h"

/// The shipped `vrudisks` in a process of its own: it serves a simulated machine as UDisks 1 on the system
/// bus that DBUS_SYSTEM_BUS_ADDRESS names. This is also the fake UDisks for tests of classes: a section
/// without an image is what its properties say it is, wrong types and missing properties included (see
/// vrudisks(8)).
///
/// Every operation throws std::runtime_error with the provider's own words when it is refused.
class MachineProvider
{
public:
    /// `machine` is the text of the machine's file, `options` are further arguments. Returns when the bus
    /// name is taken.
    explicit MachineProvider(const std::string& machine, const std::vector<std::string>& options = {});

    /// To the provider on the bus; a test has one at a time.
    static void plug(const std::string& section);
    static void unplug(const std::string& section);
    static void set(const std::string& section, const std::string& key, const std::string& value);

    Process& process() { return _process; }

    static const std::string Program;

private:
    TemporaryDirectory _directory;
    Process _process;
};
