#include "provider/udev/LastState.h"

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include "interfaces/ObjectPath.h"
#include "kernel/Descriptor.h"

namespace {

constexpr qint64 LargestFile = 1 << 20;

const QString BootKey = QStringLiteral("boot");
const QString DevicesKey = QStringLiteral("devices");
const QString PathKey = QStringLiteral("path");
const QString IdentityKey = QStringLiteral("identity");

QString bootId()
{
    QFile file(QStringLiteral("/proc/sys/kernel/random/boot_id"));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll().trimmed()) : QString();
}

/// Whether nobody else could have written what is in the file.
bool isOwn(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0 && status.st_size <= LargestFile;
}

QByteArray readOwn(const std::string& file)
{
    const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    QFile content;
    const bool isReadable =
        descriptor.isOpen() && isOwn(descriptor.get()) && content.open(descriptor.get(), QIODevice::ReadOnly);
    return isReadable ? content.read(LargestFile) : QByteArray();
}

QJsonObject written(const AnnouncedDevice& device)
{
    QJsonObject identity;
    for (auto token = device.identity.begin(); token != device.identity.end(); ++token) {
        identity.insert(token.key(), token.value());
    }
    return {{PathKey, device.objectPath}, {IdentityKey, identity}};
}

bool isObjectPath(const QString& text)
{
    const QString directory = ObjectPath::Devices + QLatin1Char('/');
    return text.size() > directory.size() && text.startsWith(directory) &&
           std::all_of(text.begin() + directory.size(), text.end(), [](QChar character) {
               return character == QLatin1Char('_') ||
                      (character.unicode() < 0x80 && character.isLetterOrNumber());
           });
}

std::optional<AnnouncedDevice> parsed(const QJsonObject& object)
{
    AnnouncedDevice result{object.value(PathKey).toString(), {}};
    const QJsonObject identity = object.value(IdentityKey).toObject();
    for (auto token = identity.begin(); token != identity.end(); ++token) {
        result.identity.insert(token.key(), token.value().toString());
    }
    return isObjectPath(result.objectPath) ? std::make_optional(result) : std::nullopt;
}

} // namespace

const char* const LastState::DefaultFile = "/run/vrudisks.state";

LastState::LastState(std::string file)
    : _file(std::move(file))
{
}

std::optional<std::vector<AnnouncedDevice>> LastState::read() const
{
    const QJsonObject state = QJsonDocument::fromJson(readOwn(_file)).object();
    const QString boot = bootId();
    if (!state.value(DevicesKey).isArray() || boot.isEmpty() || state.value(BootKey).toString() != boot) {
        return std::nullopt;
    }
    std::vector<AnnouncedDevice> result;
    for (const QJsonValue entry : state.value(DevicesKey).toArray()) {
        const std::optional<AnnouncedDevice> device = parsed(entry.toObject());
        if (!device) {
            return std::nullopt;
        }
        result.push_back(*device);
    }
    return result;
}

void LastState::write(const std::vector<AnnouncedDevice>& devices)
{
    if (_file.empty() || (_isWritten && devices == _written)) {
        return;
    }
    QJsonArray entries;
    for (const AnnouncedDevice& device : devices) {
        entries.append(written(device));
    }
    const QByteArray content =
        QJsonDocument(QJsonObject{{BootKey, bootId()}, {DevicesKey, entries}}).toJson(QJsonDocument::Compact);
    QSaveFile file(QString::fromStdString(_file));
    _isWritten = file.open(QIODevice::WriteOnly) &&
                 file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
                 file.write(content) == content.size() && file.commit();
    _written = devices;
}
