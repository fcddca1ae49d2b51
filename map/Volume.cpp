#include "map/Volume.h"

namespace {

constexpr int NtfsSerialHalf = 8;
constexpr int FatDigitsBeforeDash = 4;

} // namespace

std::optional<quint32> Volume::volumeId() const
{
    QString key;
    if (type.contains(QLatin1String("ntfs"))) {
        key = uuid.mid(NtfsSerialHalf);
    } else if (type.contains(QLatin1String("vfat"))) {
        key = uuid.left(FatDigitsBeforeDash) + uuid.mid(FatDigitsBeforeDash + 1);
    }
    return key.isEmpty() ? std::nullopt : std::optional<quint32>(key.toUInt(nullptr, 16));
}
