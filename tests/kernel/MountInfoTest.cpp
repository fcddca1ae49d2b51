#include <gmock/gmock.h>

#include <sys/sysmacros.h>

#include "kernel/MountInfo.h"

using testing::IsEmpty;

namespace {

std::vector<std::string> layersOf(const char* options)
{
    const QByteArray line = QByteArray("20 1 0:5 / / rw shared:1 master:2 - overlay none ") + options + "\n";
    std::vector<std::string> result;
    for (const Mount& mount : MountInfo::parse(line)) {
        for (const QByteArray& layer : mount.layers) {
            result.push_back(layer.toStdString());
        }
    }
    return result;
}

std::string holding(const char* path, const QByteArray& table)
{
    const std::vector<Mount> mounts = MountInfo::parse(table);
    const Mount* mount = MountInfo::holding(path, mounts);
    return mount != nullptr ? mount->source.toStdString() : "nothing";
}

} // namespace

TEST(MountInfoTest, ReadsALine)
{
    const std::vector<Mount> mounts = MountInfo::parse(
        "36 35 259:1 /sub /media/a\\040b\\134c rw,noatime - fuseblk /dev/a\\011b rw,user_id=0\n");
    ASSERT_EQ(mounts.size(), 1U);
    EXPECT_EQ(mounts[0].id, 36);
    EXPECT_EQ(mounts[0].parent, 35);
    EXPECT_EQ(mounts[0].number, makedev(259, 1));
    EXPECT_EQ(mounts[0].root, "/sub");
    EXPECT_EQ(mounts[0].target, "/media/a b\\c");
    EXPECT_EQ(mounts[0].type, "fuseblk");
    EXPECT_EQ(mounts[0].source, "/dev/a\tb");
    EXPECT_THAT(mounts[0].layers, IsEmpty());
}

TEST(MountInfoTest, IsSharedWhenAnOptionalFieldSaysSo)
{
    const std::vector<std::pair<QByteArray, bool>> table{{"", false},
                                                         {"shared:3 ", true},
                                                         {"master:2 ", false},
                                                         {"master:2 shared:3 ", true},
                                                         {"unbindable ", false}};
    for (const auto& [fields, isShared] : table) {
        const QByteArray line = "36 35 8:1 / /mnt rw,shared:9 " + fields + "- ext4 shared:1 rw,shared:2\n";
        const std::vector<Mount> mounts = MountInfo::parse(line);
        ASSERT_EQ(mounts.size(), 1U);
        EXPECT_EQ(mounts[0].isShared, isShared) << fields.toStdString();
    }
}

TEST(MountInfoTest, IsReadOnlyWhenTheMountOrItsFileSystemIs)
{
    const struct
    {
        const char* rest;
        bool isReadOnly;
    } table[] = {
        {"rw,relatime shared:1 - ext4 a rw,errors=remount-ro", false},
        {"ro,relatime - ext4 a rw", true},
        {"rw,relatime - ext4 a ro", true},
        {"rw,relatime,ro - ext4 a rw", true},
        {"rw - overlay a rw,lowerdir=/a\\054ro,upperdir=/b", false},
    };
    for (const auto& row : table) {
        const QByteArray line = QByteArray("36 35 259:1 / /media/a ") + row.rest;
        EXPECT_EQ(MountInfo::parse(line).at(0).isReadOnly, row.isReadOnly) << row.rest;
    }
}

TEST(MountInfoTest, DecodesNothingButWholeEscapes)
{
    const auto target = [](const char* text) {
        return MountInfo::parse(QByteArray("1 1 0:1 / ") + text + " rw - t s o")[0].target.toStdString();
    };
    EXPECT_EQ(target("/\\1"), "/\\1");
    EXPECT_EQ(target("/\\0400"), "/ 0");
    EXPECT_EQ(target("/\\089"), "/\\089");
    EXPECT_EQ(target("/\\x40"), "/\\x40");
    EXPECT_EQ(target("/\\303\\274"), "/\xc3\xbc");
}

TEST(MountInfoTest, SkipsLinesThatMakeNoSense)
{
    EXPECT_THAT(MountInfo::parse("\n- - -\n1 2 3\n1 1 8:1 / /x rw - ext4\n1 1 8:1 / /x rw - ext4 a\n"),
                IsEmpty());
    EXPECT_EQ(MountInfo::parse("1 1 8 / /x rw - ext4 a rw").at(0).number, makedev(8, 0));
}

TEST(MountInfoTest, FindsTheLayersOfAnOverlay)
{
    const struct
    {
        const char* options;
        std::vector<std::string> layers;
    } table[] = {
        {"rw,lowerdir=/a,upperdir=/u,workdir=/w", {"/a", "/u"}},
        {"rw,lowerdir=/a:/b:/c", {"/a", "/b", "/c"}},
        {"rw,lowerdir=/a\\054b:/c\\134:d:/e\\040f", {"/a,b", "/c:d", "/e f"}},
        {"ro,lowerdir=/a::/data", {"/a", "/data"}},
        {"ro,lowerdir+=/a,lowerdir+=/b,datadir+=/c", {"/a", "/b", "/c"}},
        {"rw,lowerdir=/a\\134\\134:/b", {"/a\\", "/b"}},
        {"rw,lowerdir=/a\\134", {"/a\\"}},
        {"rw,nolowerdir=/a,lowerdir", {}},
    };
    for (const auto& row : table) {
        EXPECT_EQ(layersOf(row.options), row.layers) << row.options;
    }
    EXPECT_THAT(MountInfo::parse("1 1 8:1 / /x rw - ext4 a rw,lowerdir=/a").at(0).layers, IsEmpty());
}

TEST(MountInfoTest, FindsWhatAPathLiesOn)
{
    const QByteArray table = "1 0 8:1 / / rw - ext4 root rw\n"
                             "2 1 8:2 / /run rw - ext4 run rw\n"
                             "3 1 8:3 / /run/a rw - ext4 below rw\n"
                             "4 1 8:4 / /run/a rw - ext4 above rw\n";
    EXPECT_EQ(holding("/", table), "root");
    EXPECT_EQ(holding("/running", table), "root");
    EXPECT_EQ(holding("/run", table), "run");
    EXPECT_EQ(holding("/run/a/file", table), "above");
    EXPECT_EQ(holding("/run/ab", table), "run");
    EXPECT_EQ(holding("/run", ""), "nothing");
}

TEST(MountInfoTest, NamesWhatLiesDirectlyBelowADirectory)
{
    const auto name = [](const char* target) {
        return MountInfo::nameBelow("/media", {1, 0, "/", target, "", ""}).toStdString();
    };
    EXPECT_EQ(name("/media/a b"), "a b");
    EXPECT_EQ(name("/media/a/b"), "");
    EXPECT_EQ(name("/media"), "");
    EXPECT_EQ(name("/media/"), "");
    EXPECT_EQ(name("/run/media/a"), "");
    EXPECT_EQ(name("/mediathek/a"), "");
}
