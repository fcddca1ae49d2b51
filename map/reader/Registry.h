#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A drive letter, and what Windows remembers of the drive that has it: the bytes of the value, see
/// DriveAddress.h.
struct RememberedDrive
{
    char letter = 0; ///< 'A' to 'Z'
    std::string data;
};

/// What is of interest in the registry file SYSTEM of a Windows.
struct Registry
{
    std::int64_t written = 0;            ///< when, in units of 100 ns since 1601; the file's own word
    bool isComplete = true;              ///< false: Windows was writing it when it was last seen
    std::vector<RememberedDrive> drives; ///< in the file's order, each letter once
};

/// Reads the file at `path` through hivex. Throws std::runtime_error when it is damaged or is another file.
Registry readRegistry(const std::string& path);
