#include "drives/MountCalls.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sys/mount.h>

#include <QFile>

namespace MountCalls {

QString Outcome::errorText() const
{
    return QString::fromLocal8Bit(std::strerror(error));
}

Outcome mountDevice(const QString& device, const QString& directory, const QString& type, const QString& data)
{
    const QByteArray source = QFile::encodeName(device);
    const QByteArray target = QFile::encodeName(directory);
    const QByteArray fileSystem = QFile::encodeName(type);
    const QByteArray options = QFile::encodeName(data);
    const int result =
        mount(source.constData(), target.constData(), fileSystem.constData(), 0, options.constData());
    return {result, errno};
}

Outcome moveMount(const QString& from, const QString& to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    const int result = mount(source.constData(), target.constData(), nullptr, MS_MOVE, nullptr);
    return {result, errno};
}

Outcome remount(const QString& device, const QString& directory, unsigned long flags, const QString& data)
{
    const QByteArray source = QFile::encodeName(device);
    const QByteArray target = QFile::encodeName(directory);
    const QByteArray options = QFile::encodeName(data);
    const int result = mount(source.constData(), target.constData(), nullptr, flags, options.constData());
    return {result, errno};
}

Outcome unmount(const QString& directory)
{
    const QByteArray target = QFile::encodeName(directory);
    const int result = umount(target.constData());
    return {result, errno};
}

Outcome forceUnmount(const QString& directory)
{
    const QByteArray target = QFile::encodeName(directory);
    const int result = umount2(target.constData(), MNT_FORCE);
    return {result, errno};
}

Outcome run(const ShellCommand& command)
{
    const QByteArray line = command.line();
    // The drivers and repair tools have always been run through the shell; ShellCommand makes that safe.
    const int status = std::system(line.constData()); // NOLINT(cert-env33-c)
    return {status, errno};
}

} // namespace MountCalls
