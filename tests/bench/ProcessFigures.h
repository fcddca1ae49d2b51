#pragma once

#include <map>
#include <string>

#include <sys/types.h>

/// The kernel's figures of a running process.
namespace ProcessFigures {

struct Memory
{
    int proportional = 0; ///< PSS, KiB: a shared page counts for its share
    int resident = 0;     ///< RSS, KiB
    int own = 0;          ///< pages that no other process maps, KiB
    int anonymous = 0;    ///< heap, stacks and written data, KiB
};

Memory memory(pid_t process);
int descriptors(pid_t process);
/// How often each of its threads has been switched to so far, by "ID name".
std::map<std::string, int> contextSwitches(pid_t process);

} // namespace ProcessFigures
