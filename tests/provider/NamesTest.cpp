#include <gmock/gmock.h>

#include <sys/sysmacros.h>

#include "interfaces/ObjectPath.h"
#include "interfaces/PartitionScheme.h"
#include "provider/machine/NodeName.h"

TEST(ObjectPathTest, EscapesEveryByteThatIsNoLetterAndNoDigit)
{
    const struct
    {
        const char* kernelName;
        const char* element;
    } table[] = {
        {"sda1", "sda1"},       {"nvme0n1p1", "nvme0n1p1"},     {"dm-0", "dm_2d0"},
        {"md_d0", "md_5fd0"},   {"cciss!c0d0", "cciss_21c0d0"}, {"a b", "a_20b"},
        {"\xc3\xbc", "_c3_bc"}, {"ABCxyz089", "ABCxyz089"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(ObjectPath::ofDevice(row.kernelName).toStdString(),
                  "/org/freedesktop/UDisks/devices/" + std::string(row.element));
    }
}

TEST(NodeNameTest, DistinguishesPartitionsFromDisks)
{
    const struct
    {
        const char* name;
        const char* disk;
        int partition;
    } table[] = {
        {"sda", "sda", 0},         {"sda1", "sda", 1},          {"sdaa12", "sdaa", 12},
        {"vdb2", "vdb", 2},        {"nvme0n1", "nvme0n1", 0},   {"nvme0n1p3", "nvme0n1", 3},
        {"mmcblk0", "mmcblk0", 0}, {"mmcblk0p2", "mmcblk0", 2}, {"mmcblk0boot0", "mmcblk0boot0", 0},
        {"md127p1", "md127", 1},   {"hda2", "hda", 2},          {"xvda1", "xvda", 1},
        {"loop0", "loop0", 0},     {"loop0p1", "loop0", 1},     {"nbd3p2", "nbd3", 2},
        {"sr0", "sr0", 0},         {"dm-0", "dm-0", 0},         {"mapper/vg-lv1", "mapper/vg-lv1", 0},
    };
    for (const auto& row : table) {
        const NodeName node(QString::fromLatin1(row.name));
        EXPECT_EQ(node.disk().toStdString(), row.disk) << row.name;
        EXPECT_EQ(node.partition(), row.partition) << row.name;
        EXPECT_EQ(node.isPartition(), row.partition > 0) << row.name;
    }
}

TEST(NodeNameTest, NumbersScsiDisksAsTheKernelDoes)
{
    const struct
    {
        const char* name;
        unsigned majorNumber;
        unsigned minorNumber;
    } table[] = {
        {"sda", 8, 0},     {"sda1", 8, 1},   {"sda15", 8, 15},     {"sdb", 8, 16},    {"sdb2", 8, 18},
        {"sdp15", 8, 255}, {"sdq", 65, 0},   {"sdz1", 65, 145},    {"sdaa", 65, 160}, {"sddw1", 71, 225},
        {"sddx", 71, 240}, {"sddy", 128, 0}, {"sdiv15", 135, 255},
    };
    for (const auto& row : table) {
        EXPECT_EQ(NodeName(QString::fromLatin1(row.name)).scsiNumber(),
                  makedev(row.majorNumber, row.minorNumber))
            << row.name;
    }
}

TEST(NodeNameTest, HasNoScsiNumberForOtherNames)
{
    for (const char* name : {"sda16", "sdiw", "sdzzzz", "nvme0n1p1", "mapper/sda", "sd", "sd1", ""}) {
        EXPECT_EQ(NodeName(QString::fromLatin1(name)).scsiNumber(), std::nullopt) << name;
    }
}

TEST(PartitionSchemeTest, SpeaksOfTablesAsUDisks1Did)
{
    const struct
    {
        const char* tableType;
        const char* scheme;
    } table[] = {{"dos", "mbr"}, {"gpt", "gpt"}, {"mac", "apm"}, {"sun", "sun"}, {"", ""}};
    for (const auto& row : table) {
        EXPECT_EQ(partitionScheme(QString::fromLatin1(row.tableType)).toStdString(), row.scheme);
    }
}
