#pragma once

#include <string>
#include <vector>

#include "tests/support/MachineProvider.h"

/// A PC with ext4 partitions on its fixed disks: small disk images behind real block devices.
class TestMachine
{
public:
    /// The partitions are /dev/sda1 to /dev/sda8, then /dev/sdb1 and so on, at most sixteen. There is also a
    /// stick, "stick" (/dev/sdq1, labelled STICK), that is not plugged in.
    explicit TestMachine(int partitions);

    const std::vector<std::string>& nodes() const { return _nodes; }
    MachineProvider& provider() { return _provider; }

private:
    std::vector<std::string> _nodes;
    MachineProvider _provider;
};
