#pragma once

#include <optional>
#include <string>

#include "client/service/ServiceState.h"

/// Everything that can be known of one drive, and nothing that is concluded from it.
struct DriveFacts
{
    /// How the provider presents it to the service.
    enum class Presentation
    {
        Unknown, ///< the provider does not answer
        None,    ///< not at all
        Internal,
        External,
    };

    std::string node;

    // What the kernel and the device say.
    bool isPartition = false;
    bool isWriteProtected = false;
    bool isRescueMedium = false;
    bool isLate = false;       ///< the device, or the file system on it, has not answered in time
    bool isIdentified = false; ///< somebody could look at its content
    std::string usage;         ///< of the content: "filesystem", "crypto", "raid", "other"
    std::string type;          ///< "ntfs", "ext4", "BitLocker"
    std::string partitionType; ///< as the partition table has it
    bool hasDriver = true;     ///< the type can be mounted here
    std::optional<int> ntfs;   ///< the exit status of ntfs-3g.probe

    // What the provider says.
    Presentation presentation = Presentation::Unknown;
    bool getsLetter = true;
    bool isLater = false; ///< it appeared after the service had started

    // Where it is mounted.
    std::string directory; ///< below /media or /mnt; empty: not there
    bool isReadOnly = false;
    bool isDead = false;      ///< every question about the mount fails
    std::string coveredBy;    ///< what is mounted over it
    std::string elsewhere;    ///< another directory where it is mounted
    std::string place;        ///< the directory that the service would choose
    std::string placeTakenBy; ///< what is there

    // The circumstances.
    ServiceState::Stage service = ServiceState::Stage::Absent;
    bool isTemporaryRootShared = false;

    bool isMounted() const { return !directory.empty(); }
};
