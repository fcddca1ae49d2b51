#include "drives/MountDirectory.h"

#include <algorithm>
#include <cerrno>

#include <QFileInfo>
#include <QStringList>

#include "drives/MountRoot.h"
#include "kernel/MountCalls.h"

namespace {

constexpr int DevPrefixLength = 5;
constexpr QLatin1Char Slash('/');

bool leadsElsewhere(const QString& component)
{
    return component == QLatin1String(".") || component == QLatin1String("..") ||
           component.contains(QChar::Null);
}

bool isLabelAllowed(const QString& name)
{
    return !leadsElsewhere(name) && !name.contains(Slash);
}

bool isNodeAllowed(const QString& name)
{
    const QStringList components = name.split(Slash);
    return !name.startsWith(Slash) && std::none_of(components.begin(), components.end(), leadsElsewhere);
}

} // namespace

MountDirectory::MountDirectory(MountRoot& root, const QString& name, bool isAllowed)
    : _root(root)
    , _name(name)
    , _isAllowed(isAllowed)
{
}

MountDirectory MountDirectory::forLabel(MountRoot& root, const QString& name)
{
    return {root, name, isLabelAllowed(name)};
}

MountDirectory MountDirectory::forNode(MountRoot& root, const QString& deviceFile)
{
    // Kept: the prefix is cut by position, whatever it is.
    const QString name = deviceFile.mid(DevPrefixLength);
    return {root, name, isNodeAllowed(name)};
}

QString MountDirectory::path() const
{
    return _root.pathOf(_name);
}

/// A symbolic link there can come from a medium without a name that lies over the root, and would lead out of
/// it.
int MountDirectory::refusal() const
{
    if (!_isAllowed) {
        return EINVAL;
    }
    return QFileInfo(path()).isSymLink() ? ELOOP : 0;
}

void MountDirectory::create() const
{
    _root.makeDirectory(path());
}

void MountDirectory::remove() const
{
    if (_isAllowed) {
        _root.removeDirectory(path());
    }
}

bool MountDirectory::moveTo(const MountDirectory& target) const
{
    if (_name.isEmpty() || refusal() != 0 || target.refusal() != 0) {
        return false;
    }
    target.create();
    if (MountCalls::moveMount(path(), target.path()).succeeded()) {
        return true;
    }
    target.remove();
    return false;
}
