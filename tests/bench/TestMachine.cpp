#include "tests/bench/TestMachine.h"

#include <map>

#include "tests/support/Images.h"

namespace {

constexpr int PartitionsOfADisk = 8;

std::vector<std::string> firstNodes(int count)
{
    std::vector<std::string> result;
    for (int index = 0; index < count; ++index) {
        const char disk = index < PartitionsOfADisk ? 'a' : 'b';
        result.push_back(std::string("sd") + disk + std::to_string(index % PartitionsOfADisk + 1));
    }
    return result;
}

/// One image a node and benchmark: making them takes longer than attaching them.
std::string image(const std::string& node, const std::string& label)
{
    static std::map<std::string, std::string> made;
    const auto [entry, isNew] = made.try_emplace(node);
    if (isNew) {
        entry->second = Images::ext4(node, label);
    }
    return entry->second;
}

std::string description(const std::vector<std::string>& nodes)
{
    std::string result = "[stick]\nNode = sdq1\nPlugged = false\nImage = " + image("stick", "STICK") + "\n";
    for (const std::string& node : nodes) {
        result += "[" + node + "]\nInternal = true\nImage = " + image(node, "") + "\n";
    }
    return result;
}

} // namespace

TestMachine::TestMachine(int partitions)
    : _nodes(firstNodes(partitions))
    , _provider(description(_nodes))
{
}
