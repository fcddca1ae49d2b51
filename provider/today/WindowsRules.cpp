#include "provider/today/WindowsRules.h"

#include <algorithm>

#include <QSet>

#include "interfaces/ScsiDisks.h"
#include "provider/today/DeviceTraits.h"

using namespace DeviceTraits;

namespace {

constexpr qlonglong NoMajor = 0;

const char* const Major = "DeviceMajor";

bool isHiddenInMbr(const Device& device)
{
    static const QSet<uint> types{
        0x11, 0x14, 0x16, 0x17, 0x1b, 0x1c, 0x1e, // the usual types, hidden
        0x12,                                     // tools of the PC's maker
        0x27,                                     // recovery
        0xef,                                     // EFI system
    };
    return types.contains(mbrType(device));
}

bool isHiddenInGpt(const Device& device)
{
    constexpr quint64 Hidden = quint64(1) << 62U;
    constexpr quint64 NoDriveLetter = quint64(1) << 63U;
    static const QSet<QString> types{
        QStringLiteral("C12A7328-F81F-11D2-BA4B-00A0C93EC93B"), // EFI system
        QStringLiteral("E3C9E316-0B5C-4DB8-817D-F92DF00215AE"), // reserved by Microsoft
        QStringLiteral("DE94BBA4-06D1-4D40-A16A-BFD50179D6AC"), // recovery
    };
    const QString type = gptType(device);
    const bool isMarked = (device.partitionAttributes & (Hidden | NoDriveLetter)) != 0;
    return types.contains(type) || (!type.isEmpty() && isMarked);
}

bool isOfWindows(const Presentation& device)
{
    const QString type = text(device.shown, "IdType");
    return isInternalPartition(device.shown) && (isNtfs(device.shown) || type.contains(QLatin1String("fat")));
}

} // namespace

void showScsiMajor(Presentation& device, const Circumstances& /*circumstances*/)
{
    if (isInternalPartition(device.shown) && !ScsiDisks::hasMajor(number(device.shown, Major)) &&
        !isNumberedDevice(device.shown, QLatin1String("loop"))) {
        set(device.shown, Major, qlonglong(ScsiDisks::FirstMajor));
    }
}

void withholdLetter(Presentation& device, const Circumstances& /*circumstances*/)
{
    if (!isHiddenInMbr(device.shown) && !isHiddenInGpt(device.shown)) {
        return;
    }
    const qlonglong own = number(device.actual, Major);
    set(device.shown, Major, own == ScsiDisks::FirstMajor ? NoMajor : own);
}

void putWindowsFirst(Picture& picture, const Circumstances& /*circumstances*/)
{
    std::stable_partition(picture.begin(), picture.end(), &isOfWindows);
}
