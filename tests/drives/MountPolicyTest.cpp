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

} // namespace
