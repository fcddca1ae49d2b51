#pragma once

#include <algorithm>
#include <array>

/// The major numbers of SCSI disks, SATA and USB among them: sixteen disks on each. The service arranges the
/// partitions on the first one only.
namespace ScsiDisks {

constexpr std::array<unsigned, 16> Majors{8,   65,  66,  67,  68,  69,  70,  71,
                                          128, 129, 130, 131, 132, 133, 134, 135};
constexpr unsigned FirstMajor = Majors.front();

inline bool hasMajor(long long number)
{
    return std::find(Majors.begin(), Majors.end(), number) != Majors.end();
}

} // namespace ScsiDisks
