#pragma once

#include "map/reader/WindowsFinding.h"

/// Where the search for a registry puts its bytes, for hivex to open.
struct Memory
{
    int descriptor; ///< of a file in memory, empty
    std::string path;
};

/// What to look for on a partition.
enum class Wanted
{
    MapOrRegistry, ///< the registry only where there is no map
    Registry,
};

/// Looks for the drives map and the registry of a Windows on an open partition. Throws nothing that is the
/// disk's fault: that is in the finding.
WindowsFinding searchForWindows(int partition, const Memory& memory, Wanted wanted);

/// The largest registry file that is read, in bytes. Those of real machines have some 10 to 20 MiB.
constexpr std::uint64_t LargestRegistry = 134217728;
