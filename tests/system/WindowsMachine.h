#pragma once

#include <string>
#include <vector>

#include "tests/support/Process.h"
#include "tests/system/SystemTest.h"

/// A simulated PC with a Windows whose registry knows its drives.
///
/// Its disk "sda" has an MBR with two primary partitions and a logical one. A registry of it is described by
/// lines of tests/support/make-hive.
class WindowsMachineTest : public MachineTest
{
protected:
    static const std::string Map; ///< where the program writes it

    enum class Place
    {
        First = 2048 * 512,
        Second = 20480 * 512,
        Logical = 43008 * 512,
    };

    /// "C=mbr:1234abcd:OFFSET" for a partition of sda.
    static std::string drive(const std::string& letter, Place place);
    /// The image of the disk.
    static std::string disk();
    /// An NTFS image with such a registry; its label is `name`.
    static std::string windows(const std::string& name, const std::string& serial,
                               const std::vector<std::string>& registry);

    /// sda with "Data", a Windows and "Logical"; the registry knows them as G:, C: and E:, and a drive that
    /// is gone as D:.
    void addPc();

    /// Runs the program to its end.
    static ProcessResult drivesMap(std::vector<std::string> options = {"--write"});
    /// Starts the machine, and then both programs as a live system does.
    void startWithMap();
};
