#pragma once

#include <QString>

class MountRoot;

/// A directory below one of the roots, for one file system. Its name may come from a foreign medium and may
/// be one that would lead out of the root: then there is a `refusal`. Nothing throws.
class MountDirectory
{
public:
    /// Named after a label, a UUID or a drive letter, which has to be one name directly below the root. The
    /// empty name stands for the root itself.
    static MountDirectory forLabel(MountRoot& root, const QString& name);
    /// Named after a device node without its first five characters, which are "/dev/". The name may hold "/",
    /// but none of its parts may lead elsewhere.
    static MountDirectory forNode(MountRoot& root, const QString& deviceFile);

    /// Absolute, without a slash at its end.
    QString path() const;

    /// Why nothing is mounted here, as an error number; 0 when nothing speaks against it.
    int refusal() const;

    /// Makes it (one level); one that exists is used as it is. Not to be called when there is a refusal.
    void create() const;
    /// Removes it if it is empty and its name is allowed; the root itself stays.
    void remove() const;

    /// Moves what is mounted here to `target`, which is made for it and removed again when that fails.
    /// Whether it now stands there. Kept: a failure is silent, and the file system stays where it is.
    bool moveTo(const MountDirectory& target) const;

private:
    MountDirectory(MountRoot& root, const QString& name, bool isAllowed);

    MountRoot& _root;
    QString _name;
    bool _isAllowed;
};
