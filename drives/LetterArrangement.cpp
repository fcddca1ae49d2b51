#include "drives/LetterArrangement.h"

#include <QDir>

#include "drives/DeviceProperties.h"
#include "drives/MountDirectory.h"
#include "drives/MountPolicy.h"
#include "drives/MountRoot.h"
#include "log/LogText.h"
#include "process/StopRequest.h"

namespace {

constexpr int NtfsSerialHalf = 8;
constexpr int VfatDigitsBeforeDash = 4;

} // namespace

LetterArrangement::LetterArrangement(MountRoot& temporaryRoot, MountRoot& finalRoot)
    : _temporary(temporaryRoot)
    , _final(finalRoot)
    , _hasMap(_drivesMap.drivesIniExist())
{
}

QString LetterArrangement::arrange(const DeviceProperties& device)
{
    QString letter = letterInMap(device);
    const MountDirectory temporary = MountDirectory::forNode(_temporary, device.text("DeviceFile"));
    if (letter.isEmpty()) {
        letter = ownLetter(device, temporary);
    }
    const MountDirectory target = MountDirectory::forLabel(_final, letter);
    if (StopRequest::isMade() || !temporary.moveTo(target)) {
        return {};
    }
    // Kept: "%2" without a "%1"; the framework fills it all the same.
    LogText::debug(QStringLiteral("--move  ->  %2").arg(letter));
    MountDirectory::forNode(_temporary, device.text("DeviceFile")).remove();
    return target.path();
}

QString LetterArrangement::matchKey(const QString& idType, const QString& idUuid)
{
    if (MountPolicy::isNtfs(idType)) {
        return idUuid.mid(NtfsSerialHalf);
    }
    if (MountPolicy::isVfat(idType)) {
        return idUuid.left(VfatDigitsBeforeDash) + idUuid.mid(VfatDigitsBeforeDash + 1);
    }
    return {};
}

bool LetterArrangement::isSystemLabel(const QString& idLabel)
{
    return idLabel.contains(QLatin1String("System"), Qt::CaseInsensitive);
}

QString LetterArrangement::letterInMap(const DeviceProperties& device)
{
    const QString uuid = _hasMap ? device.text("IdUuid") : QString();
    if (uuid.isEmpty()) {
        return {};
    }
    const QString key = matchKey(device.text("IdType"), uuid);
    return key.isEmpty() ? QString() : _runningLetter.walk(_drivesMap.partitions(), key);
}

QString LetterArrangement::ownLetter(const DeviceProperties& device, const MountDirectory& temporary)
{
    const bool isSystem = isSystemLabel(device.text("IdLabel"));
    if (isSystem && !QDir(temporary.path()).exists(QStringLiteral("Windows"))) {
        return QStringLiteral("system-reserved");
    }
    const QDir root(_final.path());
    return _runningLetter.nextFree([&](const QString& letter) { return root.exists(letter); });
}
