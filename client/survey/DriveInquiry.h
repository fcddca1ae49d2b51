#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/survey/Inquiry.h"
#include "client/survey/ListedDrive.h"
#include "client/survey/Questions.h"

/// Everything that a drive itself is asked.
class DriveInquiry
{
public:
    enum class Ntfs
    {
        Asked,
        Left, ///< while a question, which takes the whole volume, would keep the service from mounting it
    };

    /// `knownNtfs` is an earlier answer of the NTFS driver, if there was one: it is not asked again then.
    DriveInquiry(MountedDrive drive, const std::optional<std::string>& knownNtfs, Ntfs ntfs);

    const MountedDrive& drive() const { return _drive; }
    /// Waits until `end` at most.
    void collect(Inquiry::Clock::time_point end);

    // What has been collected.
    const std::optional<Questions::Content>& content() const { return _content; }
    const std::optional<Space>& space() const { return _space; }
    const std::optional<std::string>& ntfs() const { return _ntfs; }
    bool isDead() const { return _isDead; }
    bool isLate() const { return _inquiry->isLate(); }

private:
    using Reader = void (DriveInquiry::*)(const std::string& answer);

    void readContent(const std::string& answer);
    void readSpace(const std::string& answer);
    void readNtfs(const std::string& answer);

    MountedDrive _drive;
    std::vector<Reader> _readers; ///< one for each question
    std::unique_ptr<Inquiry> _inquiry;
    std::optional<Questions::Content> _content;
    std::optional<Space> _space;
    std::optional<std::string> _ntfs;
    bool _isDead = false;
};
