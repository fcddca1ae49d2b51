#include "map/reader/Registry.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>

#include <hivex.h>

namespace {

/// Windows writes at most some hundred bytes: the name of a removable drive.
constexpr std::size_t LongestData = 1024;

const std::string Prefix = "\\DosDevices\\";

using Hive = std::unique_ptr<hive_h, decltype(&hivex_close)>;
using Values = std::unique_ptr<hive_value_h, decltype(&std::free)>;
using Text = std::unique_ptr<char, decltype(&std::free)>;

/// The header has two numbers that differ while the file is being written.
bool isComplete(const std::string& path)
{
    std::array<char, 12> header{};
    std::ifstream(path, std::ios::binary).read(header.data(), header.size());
    return std::equal(header.begin() + 4, header.begin() + 8, header.begin() + 8);
}

char upperCase(char letter)
{
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

/// The letter of "\DosDevices\C:", 0 of any other name.
char letterOf(const std::string& name)
{
    if (name.size() != Prefix.size() + 2 || name.compare(0, Prefix.size(), Prefix) != 0 ||
        name.back() != ':') {
        return 0;
    }
    const char letter = upperCase(name[Prefix.size()]);
    return letter >= 'A' && letter <= 'Z' ? letter : '\0';
}

std::string nameOf(const Hive& hive, hive_value_h value)
{
    const Text name(hivex_value_key(hive.get(), value), &std::free);
    return name ? std::string(name.get()) : std::string();
}

std::string dataOf(const Hive& hive, hive_value_h value)
{
    hive_type type{};
    std::size_t length = 0;
    if (hivex_value_type(hive.get(), value, &type, &length) != 0 || length > LongestData) {
        return {};
    }
    const Text data(hivex_value_value(hive.get(), value, &type, &length), &std::free);
    return data ? std::string(data.get(), length) : std::string();
}

bool isKnown(const std::vector<RememberedDrive>& drives, char letter)
{
    return std::any_of(drives.begin(), drives.end(),
                       [letter](const RememberedDrive& drive) { return drive.letter == letter; });
}

std::vector<RememberedDrive> drivesOf(const Hive& hive)
{
    std::vector<RememberedDrive> result;
    const hive_node_h key = hivex_node_get_child(hive.get(), hivex_root(hive.get()), "MountedDevices");
    const Values values(key == 0 ? nullptr : hivex_node_values(hive.get(), key), &std::free);
    for (const hive_value_h* value = values.get(); value != nullptr && *value != 0; ++value) {
        const char letter = letterOf(nameOf(hive, *value));
        if (letter != 0 && !isKnown(result, letter)) {
            result.push_back({letter, dataOf(hive, *value)});
        }
    }
    return result;
}

} // namespace

Registry readRegistry(const std::string& path)
{
    const Hive hive(hivex_open(path.c_str(), 0), &hivex_close);
    if (!hive) {
        throw std::runtime_error("not a registry file, or a damaged one");
    }
    Registry result;
    result.written = hivex_last_modified(hive.get());
    result.isComplete = isComplete(path);
    result.drives = drivesOf(hive);
    return result;
}
