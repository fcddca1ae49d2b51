#pragma once

#include <string>
#include <vector>

#include "client/survey/Surroundings.h"

/// What has to be unmounted so that a stick may be pulled, or why nothing may be.
struct Ejection
{
    std::string refusal;            ///< empty: it may be ejected
    std::vector<BlockNode> devices; ///< the device itself, or the partitions of a disk
    std::vector<Mount> mounts;      ///< in the order in which they are unmounted
    std::vector<std::string>
        others; ///< partitions of the same disk that stay mounted: "/dev/sdb2 at /media/B"

    /// Plans for `target`, the directory of a mount or a device node (`device`, 0 if it is none). Only what
    /// the service has mounted as external is ejected: it mounts internal drives itself and keeps them.
    static Ejection of(const std::string& target, dev_t device, const Surroundings& machine);
};
