#include "drives/DrivesMap.h"

#include <QFile>
#include <QTemporaryFile>

#include "interfaces/MapFiles.h"
#include "kernel/FileTree.h"
#include "log/LogText.h"

namespace DrivesMap {
namespace {

constexpr qint64 SizeLimit = 4194304; // 4 MiB

/// The settings reader revives objects from values that begin so, from whatever bytes follow. Quotes inside a
/// value fall away when it is read, so they do not count here either.
bool carriesSerialisedObjects(QByteArray content)
{
    content.replace('"', "");
    return content.contains("@Variant(") || content.contains("@DateTime(");
}

constexpr int VolumeIdDigits = 8;
constexpr int LettersAfterVolumeId = 10; // "[", the digits, and the character that closes them

void readValue(const QString& value, WindowsPartition& partition)
{
    QString letters = value;
    if (value.startsWith(QLatin1Char('['))) {
        partition.volumeId = value.mid(1, VolumeIdDigits).toUInt(nullptr, 16);
        letters = value.mid(LettersAfterVolumeId);
    }
    partition.letters = letters.split(QLatin1Char(';'), Qt::SkipEmptyParts);
}

/// The partitions of the group that `settings` stands in, up to the first number that is missing or empty.
QList<WindowsPartition> partitionsOfGroup(const QSettings& settings)
{
    QList<WindowsPartition> result;
    for (qint32 number = 1;; ++number) {
        const QString value = settings.value(QStringLiteral("Partition%1").arg(number)).toString();
        if (value.isEmpty()) {
            return result;
        }
        WindowsPartition partition;
        partition.number = number;
        readValue(value, partition);
        partition.serial = settings.value(QStringLiteral("Serial")).toString();
        result.append(partition);
        LogText::debug(text(partition));
    }
}

} // namespace

QString find(const QString& mounts)
{
    return MapFiles::first(mounts, [](const QString&) { return true; });
}

QByteArray read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QByteArray content = file.read(SizeLimit + 1);
    if (content.size() > SizeLimit) {
        return {};
    }
    content.replace('\\', "");
    return carriesSerialisedObjects(content) ? QByteArray() : content;
}

void replace(const QString& path, const QByteArray& content)
{
    QTemporaryFile fresh(path + QStringLiteral(".XXXXXX"));
    if (!fresh.open() || fresh.write(content) != content.size() || !fresh.flush()) {
        return;
    }
    fresh.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    if (FileTree::rename(QFile::encodeName(fresh.fileName()), QFile::encodeName(path))) {
        fresh.setAutoRemove(false);
    }
}

QList<WindowsPartition> partitions(QSettings& settings)
{
    QList<WindowsPartition> result;
    const QStringList groups = settings.childGroups();
    for (const QString& group : groups) {
        settings.beginGroup(group);
        result += partitionsOfGroup(settings);
        settings.endGroup();
    }
    return result;
}

QString text(const WindowsPartition& partition)
{
    return QStringLiteral("Partition [%1]: volume id(%2) serial(%3) letters(%4)")
        .arg(QString::number(partition.number), QString::number(partition.volumeId), partition.serial,
             partition.letters.join(QLatin1Char('/')));
}

} // namespace DrivesMap
