#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "client/survey/ListedDrive.h"

/// Questions to a file system or a device, which may never be answered: to be asked by an Inquiry. Each has a
/// function that asks, and one that reads what that has returned.
namespace Questions {

/// What a device holds; empty texts where nothing was recognised.
struct Content
{
    bool hasMedium = true;
    std::string usage;
    std::string type;
    std::string label;
};

/// An exception where nobody may look.
std::string askContent(const std::string& node);
Content readContent(const std::string& answer);

/// The space of the mount itself, and not of one that hides it: an exception then, and where it is not
/// permitted.
std::string askSpace(const MountedDrive& drive);
/// Nothing for a dead mount.
std::optional<Space> readSpace(const std::string& answer);

/// What the NTFS driver would say to mounting it: the exit status of ntfs-3g.probe. Nothing is changed. An
/// exception where it is not NTFS, or there is no driver.
std::string askNtfs(const std::string& node);

} // namespace Questions
