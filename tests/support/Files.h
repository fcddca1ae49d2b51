#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace Files {

/// The bytes of a file; empty if it cannot be read.
inline std::string content(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

inline void write(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

/// The names in a directory, sorted.
inline std::vector<std::string> namesIn(const std::string& directory)
{
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        result.push_back(entry.path().filename());
    }
    std::sort(result.begin(), result.end());
    return result;
}

/// Whether its directory has a file of this name. The file itself is left alone: while somebody looks at a
/// mount, it cannot be unmounted.
inline bool isListed(const std::string& path)
{
    const std::filesystem::path file(path);
    const std::vector<std::string> names = namesIn(file.parent_path());
    return std::binary_search(names.begin(), names.end(), file.filename().string());
}

} // namespace Files
