#include "drives/WindowsDrives.h"

#include "drives/DrivesMap.h"
#include "service/LogText.h"
#include "service/Trace.h"

namespace {

const QString Mounts = QStringLiteral("/mounts");
const QString MapCopy = QStringLiteral("/tmp/drives.ini");

constexpr int VolumeIdDigits = 8;
constexpr int LettersAfterVolumeId = 10; // "[", the digits, and the character that closes them

void readValue(const QString& value, WindowsDrives::Partition& partition)
{
    QString letters = value;
    if (value.startsWith(QLatin1Char('['))) {
        partition.volumeId = value.mid(1, VolumeIdDigits).toUInt(nullptr, 16);
        letters = value.mid(LettersAfterVolumeId);
    }
    partition.letters = letters.split(QLatin1Char(';'), Qt::SkipEmptyParts);
}

QString text(const WindowsDrives::Partition& partition)
{
    return QStringLiteral("Partition [%1]: volume id(%2) serial(%3) letters(%4)")
        .arg(QString::number(partition.number), QString::number(partition.volumeId), partition.serial,
             partition.letters.join(QLatin1Char('/')));
}

/// The partitions of the group that `settings` stands in, up to the first number that is missing or empty.
QList<WindowsDrives::Partition> partitionsOfGroup(const QSettings& settings)
{
    QList<WindowsDrives::Partition> result;
    for (qint32 number = 1;; ++number) {
        const QString value = settings.value(QStringLiteral("Partition%1").arg(number)).toString();
        if (value.isEmpty()) {
            return result;
        }
        WindowsDrives::Partition partition;
        partition.number = number;
        readValue(value, partition);
        partition.serial = settings.value(QStringLiteral("Serial")).toString();
        result.append(partition);
        LogText::debug(text(partition));
    }
}

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
    QList<Partition> result;
    if (_settings.isNull()) {
        return result;
    }
    const QStringList groups = _settings->childGroups();
    for (const QString& group : groups) {
        _settings->beginGroup(group);
        result += partitionsOfGroup(*_settings);
        _settings->endGroup();
    }
    return result;
}

QDebug operator<<(QDebug debug, const WindowsDrives::Partition& partition)
{
    // The stream stays without its own blanks: with them it would drop the last one of the line.
    return debug.nospace().noquote() << LogText::quoted(text(partition)) << ' ';
}
