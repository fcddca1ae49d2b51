#include "provider/BlockObject.h"

#include <algorithm>

#include <QDBusArgument>
#include <QList>

namespace {

QDBusObjectPath pathIn(const QVariantMap& properties, const char* name)
{
    return properties.value(QString::fromLatin1(name)).value<QDBusObjectPath>();
}

/// UDisks2 gives file names as bytes that end in a NUL.
QString fileName(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes.constData());
}

} // namespace

BlockObject::BlockObject(const UDisks2Objects& objects, const QDBusObjectPath& path)
{
    const UDisks2Interfaces own = objects.value(path);
    block = own.value(UDisks2::BLOCK);
    partition = own.value(UDisks2::PARTITION);
    table = own.value(UDisks2::PARTITION_TABLE);
    encrypted = own.value(UDisks2::ENCRYPTED);
    loop = own.value(UDisks2::LOOP);
    drive = objects.value(pathIn(block, "Drive")).value(UDisks2::DRIVE);
    disk = objects.value(pathIn(partition, "Table"));
}

bool BlockObject::isExtended() const
{
    static const QStringList types{QStringLiteral("0x05"), QStringLiteral("0x0f"), QStringLiteral("0x85")};
    return types.contains(partition.value(QStringLiteral("Type")).toString());
}

bool BlockObject::isIdentified() const
{
    const bool isEmpty = block.value(QStringLiteral("Size")).toULongLong() == 0;
    const bool isRecognised = !block.value(QStringLiteral("IdType")).toString().isEmpty() ||
                              !block.value(QStringLiteral("IdUsage")).toString().isEmpty();
    const bool knowsItsTable = !isPartition() || !schemeOfPartition().isEmpty();
    return isEmpty || (knowsItsTable && (isRecognised || !table.isEmpty() || isExtended()));
}

dev_t BlockObject::number() const
{
    return block.value(QStringLiteral("DeviceNumber")).toULongLong();
}

QString BlockObject::file() const
{
    return fileName(block.value(QStringLiteral("Device")).toByteArray());
}

QString BlockObject::preferredFile() const
{
    return fileName(block.value(QStringLiteral("PreferredDevice")).toByteArray());
}

QString BlockObject::backingFile() const
{
    return fileName(loop.value(QStringLiteral("BackingFile")).toByteArray());
}

QStringList BlockObject::linksIn(const QStringList& directories) const
{
    QStringList result;
    for (const QByteArray& link : qdbus_cast<QList<QByteArray>>(block.value(QStringLiteral("Symlinks")))) {
        const QString name = fileName(link);
        const auto contains = [&](const QString& directory) { return name.startsWith(directory); };
        if (std::any_of(directories.begin(), directories.end(), contains)) {
            result += name;
        }
    }
    result.sort();
    return result;
}

QString BlockObject::schemeOfPartition() const
{
    return disk.value(UDisks2::PARTITION_TABLE).value(QStringLiteral("Type")).toString();
}
