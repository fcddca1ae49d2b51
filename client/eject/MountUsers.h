#pragma once

#include <string>
#include <vector>

#include "kernel/MountInfo.h"

/// Who uses mounts.
namespace MountUsers {

/// Looks at every process: one line per user, "less (process 1234)", and also "the loop device loop3" for an
/// image on such a mount. To be called in a process of its own, as an Inquiry: what a process has open may
/// hang.
std::string ask(const std::vector<Mount>& mounts);
/// What `ask` has answered, for a sentence: "less (process 1234), bash (process 99) and 3 more"; "somebody
/// who cannot be seen" where it is empty.
std::string sentence(const std::string& answer);

} // namespace MountUsers
