#pragma once

#include <map>
#include <string>
#include <vector>

/// A partition of the machine's own disk, already mounted as far as UDisks reports.
struct ArrangedPartition
{
    std::string node;
    std::string type;
    std::string label;
    std::string uuid = "x";
    std::map<std::string, std::string> more = {}; ///< keys of the machine file that differ
};

/// The input of start-up, and its result.
namespace ArrangedPartitions {

/// The machine file with these partitions.
std::string machine(const std::vector<ArrangedPartition>& partitions);
/// The properties of a partition that is found again where it was moved to.
std::map<std::string, std::string> mountedAt(const std::string& paths);
/// Writes the drives map of a mounted Windows.
void writeMap(const std::string& content);

/// The call that moves a partition to its letter.
std::string moved(const std::string& node, const std::string& letter);
/// The moves among the calls, in order.
std::vector<std::string> moves();

} // namespace ArrangedPartitions
