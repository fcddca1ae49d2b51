#include "map/LetterPlan.h"

#include <algorithm>

#include <QStringList>

#include "map/DriveAddress.h"

namespace {

using Indices = std::vector<std::size_t>;

Indices matching(const std::vector<Volume>& volumes, const DriveAddress& address)
{
    Indices result;
    for (std::size_t index = 0; index < volumes.size(); ++index) {
        if (address.isOf(volumes[index])) {
            result.push_back(index);
        }
    }
    return result;
}

QString nodesOf(const std::vector<Volume>& volumes, const Indices& indices)
{
    QStringList nodes;
    for (const std::size_t index : indices) {
        nodes += volumes[index].node;
    }
    return nodes.join(QLatin1String(" and "));
}

Indices withVolumeId(const std::vector<Volume>& volumes, quint32 volumeId)
{
    Indices result;
    for (std::size_t index = 0; index < volumes.size(); ++index) {
        if (volumes[index].volumeId() == volumeId) {
            result.push_back(index);
        }
    }
    return result;
}

/// Once the service has looked at the map, it gives away only letters behind those of the map.
bool makesTheServiceLook(const Volume& volume)
{
    return volume.isArranged && volume.isInternal && volume.isReadable && volume.volumeId();
}

bool getsALetterUnasked(const Volume& volume)
{
    return volume.isArranged && volume.isInternal && volume.isFileSystem && !volume.volumeId();
}

/// How many letters, from C: on, may be given away before the service looks at the map for this partition.
int lettersGivenBefore(const std::vector<Volume>& volumes, std::size_t index)
{
    const auto end = volumes.begin() + static_cast<std::ptrdiff_t>(index);
    const auto first = std::find_if(volumes.begin(), end, &makesTheServiceLook);
    return static_cast<int>(std::count_if(volumes.begin(), first, &getsALetterUnasked));
}

bool isGivenBefore(const std::vector<Volume>& volumes, std::size_t index, char letter)
{
    return letter >= 'C' && letter < 'C' + lettersGivenBefore(volumes, index);
}

/// Why no map can give the letter to this partition; empty if one can.
QString obstacle(const std::vector<Volume>& volumes, std::size_t index, char letter)
{
    const Volume& volume = volumes[index];
    if (!volume.isInternal) {
        return QStringLiteral("%1 is an external drive").arg(volume.node);
    }
    if (!volume.volumeId()) {
        return QStringLiteral("%1 is neither NTFS nor FAT").arg(volume.node);
    }
    const Indices twins = withVolumeId(volumes, *volume.volumeId());
    if (twins.size() > 1) {
        return QStringLiteral("%1 have the same volume id").arg(nodesOf(volumes, twins));
    }
    return isGivenBefore(volumes, index, letter)
               ? QStringLiteral("a partition before %1 may get it").arg(volume.node)
               : QString();
}

PlannedLetter planned(const std::vector<Volume>& volumes, const RememberedDrive& drive)
{
    const DriveAddress address = DriveAddress::of(drive.data);
    const Indices found = matching(volumes, address);
    PlannedLetter result{drive.letter, -1, {}};
    if (address.kind == DriveAddress::Kind::Other) {
        result.reason = QStringLiteral("not a partition of a disk");
    } else if (found.empty()) {
        result.reason = QStringLiteral("no such partition here");
    } else if (found.size() > 1) {
        result.reason = QStringLiteral("%1 are at the same place").arg(nodesOf(volumes, found));
    } else {
        result.reason = obstacle(volumes, found.front(), drive.letter);
        result.volume = result.reason.isEmpty() ? static_cast<int>(found.front()) : -1;
    }
    return result;
}

} // namespace

std::vector<PlannedLetter> planLetters(const std::vector<Volume>& volumes,
                                       const std::vector<RememberedDrive>& drives)
{
    std::vector<PlannedLetter> result;
    std::transform(drives.begin(), drives.end(), std::back_inserter(result),
                   [&](const RememberedDrive& drive) { return planned(volumes, drive); });
    std::sort(result.begin(), result.end(), [](const PlannedLetter& left, const PlannedLetter& right) {
        return left.letter < right.letter;
    });
    return result;
}
