#include <limits>

#include <gmock/gmock.h>

#include "drives/MountPolicy.h"

namespace {

struct TypeRow
{
    const char* type;
    bool isMountable;
    bool isNtfs;
    const char* data;
};

TEST(MountPolicy, DecidesByTheTypeOfTheFileSystem)
{
    for (const TypeRow& row : {TypeRow{"", false, false, ""},
                               {"swap", false, false, ""},
                               {"linux-swap(v1)", false, false, ""},
                               {"Swap", true, false, ""},
                               {"ntfs", true, true, ""},
                               {"x-ntfs-3g", true, true, ""},
                               {"NTFS", true, false, ""},
                               {"vfat", true, false, "utf8"},
                               {"xvfat2", true, false, "utf8"},
                               {"ext4", true, false, ""},
                               {"crypto_LUKS", true, false, ""}}) {
        const QString type = QString::fromLatin1(row.type);
        EXPECT_EQ(MountPolicy::isMountable(type), row.isMountable) << row.type;
        EXPECT_EQ(MountPolicy::isNtfs(type), row.isNtfs) << row.type;
        EXPECT_EQ(MountPolicy::kernelMountData(type), QString::fromLatin1(row.data)) << row.type;
        EXPECT_FALSE(MountPolicy::kernelMountData(type).isNull()) << row.type;
    }
}

struct NameRow
{
    const char* name;
    bool isAllowed;
    const char* path;
};

TEST(MountPolicy, LetsALabelBeOneNameBelowTheRootOnly)
{
    for (const NameRow& row : {NameRow{"DATA", true, "/media/DATA"},
                               {"USB DISK", true, "/media/USB DISK"},
                               {"", true, "/media"},
                               {"C:", true, "/media/C:"},
                               {"..x", true, "/media/..x"},
                               {"...", true, "/media/..."},
                               {":", true, "/media/:"},
                               {":x", true, "/media/:x"},
                               {"~", true, "/media/~"},
                               {"a\nb", true, "/media/a\nb"},
                               {"é", true, "/media/é"}}) {
        const auto directory =
            MountPolicy::directoryForLabel(QStringLiteral("/media/"), QString::fromUtf8(row.name));
        EXPECT_EQ(directory.isAllowed, row.isAllowed) << row.name;
        EXPECT_EQ(directory.path(), QString::fromUtf8(row.path)) << row.name;
    }
    for (const char* name : {".", "..", "/etc", "../etc", "a/b", "a/", "/"}) {
        EXPECT_FALSE(
            MountPolicy::directoryForLabel(QStringLiteral("/media/"), QString::fromLatin1(name)).isAllowed)
            << name;
    }
    EXPECT_FALSE(MountPolicy::isLabelAllowed(QString(QStringLiteral("C:")) + QChar::Null));
}

TEST(MountPolicy, CutsTheDevicePrefixByPosition)
{
    EXPECT_EQ(MountPolicy::nodeName(QStringLiteral("/dev/sda1")), QStringLiteral("sda1"));
    EXPECT_EQ(MountPolicy::nodeName(QStringLiteral("/deX/sda1")), QStringLiteral("sda1"));
    EXPECT_EQ(MountPolicy::nodeName(QStringLiteral("abc")), QString());
    EXPECT_EQ(MountPolicy::nodeName(QString()), QString());
}

TEST(MountPolicy, LetsADeviceNodeHoldASlashButNeverLeaveTheRoot)
{
    const auto nested =
        MountPolicy::directoryForNode(QStringLiteral("/mnt/"), QStringLiteral("/dev/mapper/vg-lv"));
    EXPECT_TRUE(nested.isAllowed);
    EXPECT_EQ(nested.path(), QStringLiteral("/mnt/mapper/vg-lv"));
    for (const char* node : {"/dev/../etc", "/dev//etc", "/dev/a/../../etc", "/dev/.", "/dev/mapper/.."}) {
        EXPECT_FALSE(
            MountPolicy::directoryForNode(QStringLiteral("/mnt/"), QString::fromLatin1(node)).isAllowed)
            << node;
    }
}

TEST(MountPolicy, ShowsWaitStatusesInLowerCaseHexadecimal)
{
    EXPECT_EQ(MountPolicy::hexStatus(256), QStringLiteral("100"));
    EXPECT_EQ(MountPolicy::hexStatus(0x7f00), QStringLiteral("7f00"));
    EXPECT_EQ(MountPolicy::hexStatus(11), QStringLiteral("b"));
    EXPECT_EQ(MountPolicy::hexStatus(-1), QStringLiteral("-1"));
}

} // namespace
