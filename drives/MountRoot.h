#pragma once

#include <set>

#include <QString>

#include "kernel/FileTree.h"

/// One of the two directories that everything is mounted below. It remembers the file system that it lies on,
/// so that what is mounted over it later, a medium without a name mostly, is not taken for the directory
/// itself; and it remembers the directories that it made, so that on such a medium it removes no other.
/// Failures are silent, and nothing throws.
class MountRoot
{
public:
    /// `path` is absolute; a slash at its end does not count.
    explicit MountRoot(const QString& path);

    /// Makes the directory if it is missing (one level) and remembers what is there now.
    void create();

    /// Makes a directory below the root (one level); one that exists is used as it is. The root's own path
    /// changes nothing, here and in `removeDirectory`.
    void makeDirectory(const QString& directory);
    /// Removes a directory below the root if it is empty, whoever made it.
    void removeDirectory(const QString& directory);

    /// Unmounts what was mounted over the directory since `create`, and what was mounted on that; then
    /// unmounts and removes every directory in it, once each, and logs its path before. On what lies over it,
    /// only the mounts and what `makeDirectory` made are logged, and only the latter are removed. When
    /// something that lies over it cannot be unmounted, nothing below that is touched. The directory itself
    /// is never removed.
    void takeDown() const;

    /// Without a slash at its end.
    QString path() const { return _path; }
    /// Full path of the entry `name`, whatever the name begins with; of the root itself when it is empty.
    QString pathOf(const QString& name) const;

private:
    using Place = FileTree::Place;
    using Identity = Place::Identity;

    static Place look(const QString& path);
    bool isCovered() const;
    bool isMade(const Place& place) const;
    bool uncover() const;
    void takeDownOnMedium(const QString& directory) const;

    QString _path;
    Place _created;
    std::set<Identity> _made;
};
