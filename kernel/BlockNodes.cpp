#include "kernel/BlockNodes.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include <sys/stat.h>

namespace BlockNodes {

std::vector<BlockNode> in(const std::string& directory)
{
    std::vector<BlockNode> result;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(directory, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        struct stat about = {};
        if (lstat(entry->path().c_str(), &about) == 0 && S_ISBLK(about.st_mode)) {
            result.push_back({entry->path(), about.st_rdev});
        }
    }
    std::sort(result.begin(), result.end(), [](const BlockNode& first, const BlockNode& second) {
        return strverscmp(first.path.c_str(), second.path.c_str()) < 0;
    });
    return result;
}

dev_t numberOf(const std::string& path)
{
    struct stat about = {};
    return stat(path.c_str(), &about) == 0 && S_ISBLK(about.st_mode) ? about.st_rdev : 0;
}

} // namespace BlockNodes
