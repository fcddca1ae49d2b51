#include "map/reader/WindowsSearch.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

#include "map/reader/NtfsVolume.h"

namespace {

using Trouble = WindowsFinding::Trouble;

const std::vector<std::string> RegistryPath{"Windows", "System32", "config", "SYSTEM"};

constexpr std::size_t MostEntries = 4096;
constexpr int DeepestDirectory = 8;
constexpr int MostDirectories = 256;

std::string lowerCase(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return name;
}

/// "Program Files", "Program Files (x86)", "Programme", "Archivos de programa", ...
bool isProgramDirectory(const NtfsVolume::Entry& entry)
{
    return entry.isDirectory && lowerCase(entry.name).find("prog") != std::string::npos;
}

/// The search for a drives map: the same one that the service makes below a mounted Windows.
class MapSearch
{
public:
    explicit MapSearch(const NtfsVolume& volume)
        : _volume(volume)
    {
    }

    /// Whether there is a map; `file` and `path` say where.
    bool succeeds()
    {
        const std::vector<NtfsVolume::Entry> all = _volume.entries(NtfsVolume::Root, MostEntries);
        return std::any_of(all.begin(), all.end(), [this](const NtfsVolume::Entry& entry) {
            const auto vorna = isProgramDirectory(entry) ? _volume.find(entry.reference, {"Vorna"})
                                                         : std::optional<NtfsVolume::Reference>();
            return vorna && findBelow(*vorna, entry.name + "/Vorna", DeepestDirectory);
        });
    }

    NtfsVolume::Reference file = 0;
    std::string path;

private:
    bool findBelow(NtfsVolume::Reference directory, const std::string& place, int depth)
    {
        if (depth == 0 || ++_directories > MostDirectories) {
            return false;
        }
        const std::vector<NtfsVolume::Entry> all = _volume.entries(directory, MostEntries);
        return std::any_of(all.begin(), all.end(), [&](const NtfsVolume::Entry& entry) {
            const std::string here = place + "/" + entry.name;
            return entry.isDirectory ? findBelow(entry.reference, here, depth - 1) : isMap(entry, here);
        });
    }

    bool isMap(const NtfsVolume::Entry& entry, const std::string& here)
    {
        if (entry.name != "drives.ini") {
            return false;
        }
        file = entry.reference;
        path = here;
        return true;
    }

    const NtfsVolume& _volume;
    int _directories = 0;
};

void readMap(const NtfsVolume& volume, WindowsFinding& finding)
{
    MapSearch search(volume);
    if (!search.succeeds()) {
        return;
    }
    if (volume.size(search.file).value_or(0) > LongestMap) {
        finding.trouble = Trouble::MapTooLarge;
        return;
    }
    try {
        volume.read(search.file, [&](const char* data, std::size_t size) { finding.map.append(data, size); });
        finding.mapPath = search.path;
    } catch (const std::runtime_error&) {
        finding.trouble = Trouble::MapUnreadable;
    }
}

void append(int file, const char* data, std::size_t size)
{
    const ssize_t written = write(file, data, size);
    const int error = errno;
    if (written != static_cast<ssize_t>(size)) {
        throw std::system_error(error, std::generic_category(), "no memory for the registry");
    }
}

void readRegistry(const NtfsVolume& volume, const Memory& memory, WindowsFinding& finding)
{
    const auto file = volume.find(NtfsVolume::Root, RegistryPath);
    const auto size = file ? volume.size(*file) : std::optional<std::uint64_t>();
    if (!size) {
        return;
    }
    if (*size > LargestRegistry) {
        finding.trouble = Trouble::RegistryTooLarge;
        return;
    }
    try {
        volume.read(*file,
                    [&](const char* data, std::size_t count) { append(memory.descriptor, data, count); });
        finding.registry = ::readRegistry(memory.path);
        finding.hasRegistry = true;
    } catch (const std::runtime_error&) {
        finding.trouble = Trouble::RegistryDamaged;
    }
}

} // namespace

WindowsFinding searchForWindows(int partition, const Memory& memory, Wanted wanted)
{
    WindowsFinding finding;
    try {
        const NtfsVolume volume(partition);
        if (wanted == Wanted::MapOrRegistry) {
            readMap(volume, finding);
        }
        if (finding.mapPath.empty()) {
            readRegistry(volume, memory, finding);
        }
        finding.bytesRead = volume.bytesRead();
    } catch (const std::runtime_error&) {
        finding.trouble = Trouble::NoFileSystem;
    }
    return finding;
}
