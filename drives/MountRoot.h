#pragma once

#include <cstdint>

#include <QString>

/// One of the two directories that everything is mounted below. It remembers the file system that it lies on,
/// so that what is mounted over it later, a medium without a name mostly, is not taken for the directory
/// itself. Nothing throws.
class MountRoot
{
public:
    /// `path` is absolute; a slash at its end does not count.
    explicit MountRoot(const QString& path);

    /// Makes the directory if it is missing (one level; a failure is ignored) and remembers what is there
    /// now.
    void create();

    /// Unmounts what was mounted over the directory since `create`, and what was mounted on that; then
    /// unmounts and removes every directory in it, once each, and logs its path before. When something that
    /// lies over it cannot be unmounted, nothing is removed. Failures are silent. The directory itself is
    /// never removed.
    void takeDown() const;

    /// Without a slash at its end.
    QString path() const { return _path; }

private:
    /// What the path leads to. A kernel that does not tell mounts apart (before 5.8) leaves the first two as
    /// they are.
    struct Place
    {
        std::uint64_t mountId = 0;
        bool isMountRoot = true;
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
    };

    Place look() const;
    bool isCovered() const;
    bool uncover() const;

    QString _path;
    Place _created;
};
