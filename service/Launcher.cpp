#include "service/Launcher.h"

#include <QFile>
#include <QProcess>

#include "interfaces/ServicePaths.h"

namespace Launcher {
namespace {

constexpr int CannotLaunch = -1; // the shell sees 255

QString pidFile()
{
    return QString::fromLatin1(ServicePaths::PidFile);
}

} // namespace

bool isNeeded()
{
    return !QFile::exists(pidFile());
}

// Kept: the copy runs as the service because the pid file exists by then, and when it cannot be started the
// empty pid file stays.
int launch(const QStringList& arguments)
{
    QFile file(pidFile());
    const bool canRecord = file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    qint64 pid = -1;
    if (!QProcess::startDetached(arguments.first(), arguments.mid(1), QStringLiteral("/"), &pid)) {
        return CannotLaunch;
    }
    if (canRecord) {
        file.write(QByteArray::number(pid));
    }
    return 0;
}

void removePidFile()
{
    QFile::remove(pidFile());
}

} // namespace Launcher
