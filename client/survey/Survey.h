#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/survey/DriveInquiry.h"
#include "client/survey/ListedDrive.h"
#include "client/survey/Surroundings.h"

/// Every drive of the machine.
struct Survey
{
    std::vector<ListedDrive> drives; ///< mounted ones by directory, then the others by node
    Surroundings surroundings;
    std::vector<std::string> gaps; ///< what could not be asked: one line each
};

/// Looks at the machine's drives, any number of times.
class Surveyor
{
public:
    using Answers = std::map<std::string, std::optional<std::string>>;

    /// `socket` is the service's; no look takes longer than `bound`, whatever does not answer.
    Surveyor(std::string socket, std::chrono::milliseconds bound);

    /// Asks all file systems, all devices and the provider at once, but the NTFS driver only when the service
    /// does not arrange the drives. What has not answered in time is listed without. Throws std::system_error
    /// if the mount table cannot be read, and what Inquiry throws.
    Survey look();
    /// From now on the NTFS driver is asked again about volumes that it has been asked about: whether Windows
    /// sleeps does not change by itself, and udev announces a change whenever a device was opened to be
    /// written to, as that driver opens it.
    void forget() { _ntfs.clear(); }

private:
    using Inquiries = std::vector<std::unique_ptr<DriveInquiry>>;

    Inquiries inquiriesIn(const Surroundings& machine);

    std::string _socket;
    std::chrono::milliseconds _bound;
    Answers _ntfs;
};
