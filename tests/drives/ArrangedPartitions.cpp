#include "tests/drives/ArrangedPartitions.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/KernelDoor.h"

namespace fs = std::filesystem;

namespace ArrangedPartitions {

std::string machine(const std::vector<ArrangedPartition>& partitions)
{
    std::ostringstream result;
    for (const ArrangedPartition& partition : partitions) {
        std::map<std::string, std::string> keys = partition.more;
        keys.insert({{"Internal", "true"},
                     {"Partition", "true"},
                     {"IdUsage", "filesystem"},
                     {"IdType", partition.type},
                     {"IdLabel", partition.label},
                     {"IdUuid", partition.uuid}});
        if (keys.count("DeviceMajor:u") == 0) {
            keys.insert({"DeviceMajor", "8"});
        }
        keys.insert({"DeviceMountPaths", "/mnt/" + partition.node});
        result << "[" << partition.node << "]\n";
        for (const auto& [key, value] : keys) {
            result << key << " = " << value << "\n";
        }
    }
    return result.str();
}

std::map<std::string, std::string> mountedAt(const std::string& paths)
{
    return {{"DeviceMountPaths", paths}};
}

void writeMap(const std::string& content)
{
    const fs::path directory = "/mounts/sda2/Program Files/Vorna";
    fs::create_directories(directory);
    std::ofstream(directory / "drives.ini") << content;
}

std::string moved(const std::string& node, const std::string& letter)
{
    return "mount(/mnt/" + node + ", /media/" + letter + ", NULL, 0x2000, NULL)";
}

std::vector<std::string> moves()
{
    std::vector<std::string> result;
    for (const std::string& call : KernelDoor::calls()) {
        if (call.find(", NULL, 0x2000, NULL)") != std::string::npos) {
            result.push_back(call);
        }
    }
    return result;
}

} // namespace ArrangedPartitions
