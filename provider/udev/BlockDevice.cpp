#include "provider/udev/BlockDevice.h"

#include <algorithm>

#include <sys/sysmacros.h>

#include "interfaces/ObjectPath.h"

namespace {

constexpr int EscapeLength = 4; // \xNN

bool isEscape(const QByteArray& text, int at)
{
    const QByteArray digits = text.mid(at + 2, 2);
    return text.mid(at, 2) == "\\x" && digits.size() == 2 &&
           std::all_of(digits.begin(), digits.end(), [](char digit) { return isxdigit(digit) != 0; });
}

QByteArray decoded(const QByteArray& text)
{
    QByteArray result;
    for (int at = 0; at < text.size();) {
        const bool isByte = isEscape(text, at);
        result += isByte ? QByteArray::fromHex(text.mid(at + 2, 2)) : text.mid(at, 1);
        at += isByte ? EscapeLength : 1;
    }
    return result;
}

} // namespace

BlockDevice::BlockDevice(Properties properties)
    : _properties(std::move(properties))
{
}

QByteArray BlockDevice::name() const
{
    return path().mid(path().lastIndexOf('/') + 1);
}

dev_t BlockDevice::number() const
{
    return makedev(value("MAJOR").toUInt(), value("MINOR").toUInt());
}

QString BlockDevice::objectPath() const
{
    return ObjectPath::ofDevice(name());
}

QByteArray BlockDevice::diskPath() const
{
    return isPartition() ? path().left(path().lastIndexOf('/')) : path();
}

QString BlockDevice::text(const char* property) const
{
    return QString::fromUtf8(value(property));
}

QString BlockDevice::decodedText(const char* property) const
{
    return QString::fromUtf8(decoded(value(property)).constData());
}

qulonglong BlockDevice::number(const char* property) const
{
    const QByteArray digits = value(property);
    return digits.startsWith("0x") ? digits.toULongLong(nullptr, 16) : digits.toULongLong();
}

QStringList BlockDevice::linksIn(const QStringList& directories) const
{
    QStringList result;
    for (const QString& link : text("DEVLINKS").split(QLatin1Char(' '))) {
        if (std::any_of(directories.begin(), directories.end(),
                        [&](const QString& directory) { return link.startsWith(directory); })) {
            result += link;
        }
    }
    result.sort();
    return result;
}
