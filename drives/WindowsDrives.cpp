#include "drives/WindowsDrives.h"

#include "drives/DrivesMap.h"
#include "interfaces/MapFiles.h"
#include "interfaces/ServicePaths.h"
#include "log/LogText.h"
#include "log/Trace.h"

namespace {

const QString Mounts = QLatin1String(MapFiles::Mounts);
const QString MapCopy = QString::fromLatin1(ServicePaths::DrivesMapCopy);

} // namespace

WindowsDrives::WindowsDrives()
{
    VORNA_TRACE();
    const QString map = DrivesMap::find(Mounts);
    if (map.isEmpty()) {
        LogText::warningLiteral("Drives file NOT found!");
        return;
    }
    LogText::debug(QStringLiteral("Drives file found: %1").arg(map));
    DrivesMap::replace(MapCopy, DrivesMap::read(map));
    _settings = QSharedPointer<QSettings>::create(MapCopy, QSettings::NativeFormat);
}

WindowsDrives::~WindowsDrives()
{
    VORNA_TRACE();
}

bool WindowsDrives::drivesIniExist()
{
    VORNA_TRACE();
    return !_settings.isNull();
}

QList<WindowsDrives::Partition> WindowsDrives::partitions() const
{
    VORNA_TRACE();
    return _settings.isNull() ? QList<Partition>() : DrivesMap::partitions(*_settings);
}

QDebug operator<<(QDebug debug, const WindowsDrives::Partition& partition)
{
    // The stream stays without its own blanks: with them it would drop the last one of the line.
    return debug.nospace().noquote() << LogText::quoted(DrivesMap::text(partition)) << ' ';
}
