#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "client/notes/Note.h"
#include "client/survey/MountedDrive.h"

struct Space
{
    std::uint64_t size = 0; ///< bytes
    std::uint64_t free = 0; ///< bytes that an ordinary user may still write
};

/// A line of the list: a mount, or a drive that is not mounted below /media or /mnt.
struct ListedDrive
{
    MountedDrive mount; ///< of a drive that is not mounted only `device` and `number`
    std::string type;   ///< the file system's: "ntfs", not that of its driver; empty if it is not known
    std::string label;  ///< as on the medium; empty when there is none or it cannot be read
    std::optional<Space> space;   ///< nothing: hidden below another mount, dead, or not permitted
    std::uint64_t deviceSize = 0; ///< bytes; 0 if it is not known
    std::optional<Note> note;

    bool isMounted() const { return !mount.directory.empty(); }
};
