#include <gmock/gmock.h>

#include <sys/sysmacros.h>

#include <QDBusObjectPath>

#include "interfaces/InterfaceDescription.h"
#include "kernel/MountTable.h"
#include "provider/DeviceView.h"
#include "provider/machine/MachineDevice.h"

namespace {

MachineSection section(const char* node, bool isPartition, bool isInternal = false)
{
    MachineSection result;
    result.node = QString::fromLatin1(node);
    result.isPartition = isPartition;
    result.isInternal = isInternal;
    return result;
}

Identification ntfs()
{
    Identification content;
    content.usage = QStringLiteral("filesystem");
    content.type = QStringLiteral("ntfs");
    content.label = "Big / disk\n";
    content.uuid = QStringLiteral("0123456789ABCDEF");
    content.size = 1048576;
    return content;
}

QVariant shown(const Device& device, const char* property)
{
    MountTable mounts;
    return DeviceView::property(device, mounts, QString::fromLatin1(property)).value_or(QVariant());
}

} // namespace

TEST(MachineDeviceTest, ShowsAPartitionWithWhatItsImageHolds)
{
    const Device device = machineDevice(section("sdb2", true, true), ntfs(), makedev(7, 3));
    EXPECT_EQ(device.objectPath.toStdString(), "/org/freedesktop/UDisks/devices/sdb2");
    EXPECT_EQ(device.number, makedev(7, 3));
    EXPECT_EQ(device.partitionAttributes, 0U);
    const struct
    {
        const char* property;
        QVariant value;
    } table[] = {
        {"DeviceFile", QStringLiteral("/dev/sdb2")},
        {"DeviceMajor", qlonglong(8)},
        {"DeviceMinor", qlonglong(18)},
        {"DeviceSize", qulonglong(1048576)},
        {"DeviceBlockSize", qulonglong(512)},
        {"DeviceIsDrive", false},
        {"DeviceIsPartition", true},
        {"DeviceIsSystemInternal", true},
        {"DeviceIsMediaAvailable", true},
        {"DeviceIsOpticalDisc", false},
        {"DriveIsMediaEjectable", false},
        {"DeviceFileById", QStringList(QStringLiteral("/dev/disk/by-uuid/0123456789ABCDEF"))},
        {"DeviceFileByPath", QStringList()},
        {"IdUsage", QStringLiteral("filesystem")},
        {"IdType", QStringLiteral("ntfs")},
        {"IdLabel", QStringLiteral("Big / disk\n")},
        {"IdUuid", QStringLiteral("0123456789ABCDEF")},
        {"PartitionScheme", QStringLiteral("mbr")},
        {"PartitionType", QStringLiteral("0x07")},
        {"PartitionNumber", 2},
        {"PartitionFlags", QStringList()},
        {"PartitionSize", qulonglong(1048576)},
        {"DeviceIsPartitionTable", false},
        {"DeviceIsLuks", false},
    };
    for (const auto& row : table) {
        EXPECT_EQ(shown(device, row.property), row.value) << row.property;
    }
    EXPECT_EQ(shown(device, "PartitionSlave").value<QDBusObjectPath>().path().toStdString(),
              "/org/freedesktop/UDisks/devices/sdb");
}

TEST(MachineDeviceTest, ShowsAWholeDiskWithItsTable)
{
    Identification content;
    content.tableType = QStringLiteral("dos");
    const Device device = machineDevice(section("sda", false), content, makedev(7, 0));
    EXPECT_EQ(shown(device, "DeviceIsDrive"), QVariant(true));
    EXPECT_EQ(shown(device, "DeviceIsPartitionTable"), QVariant(true));
    EXPECT_EQ(shown(device, "PartitionTableScheme"), QVariant(QStringLiteral("mbr")));
    EXPECT_EQ(shown(device, "PartitionScheme"), QVariant(QString()));
    EXPECT_EQ(shown(device, "PartitionType"), QVariant(QString()));
}

TEST(MachineDeviceTest, HasNoMediumWithoutAnImage)
{
    const Device device = machineDevice(section("sda", false), {}, 0);
    EXPECT_EQ(shown(device, "DeviceSize"), QVariant(qulonglong(0)));
    EXPECT_EQ(shown(device, "DeviceBlockSize"), QVariant(qulonglong(0)));
    EXPECT_EQ(shown(device, "DeviceIsMediaAvailable"), QVariant(false));
    EXPECT_EQ(shown(device, "DeviceIsMounted"), QVariant(false));
    EXPECT_EQ(shown(machineDevice(section("sda1", true), {}, 0), "DeviceBlockSize"),
              QVariant(qulonglong(512)));
}

TEST(MachineDeviceTest, KnowsExactlyThesePropertiesOfADisk)
{
    Identification content;
    content.usage = QStringLiteral("crypto");
    content.type = QStringLiteral("crypto_LUKS");
    content.version = QStringLiteral("2");
    content.label = "L";
    content.size = 4096;
    const QString file = QStringLiteral("/dev/sdc");
    const QVariantMap expected{
        {QStringLiteral("DeviceFile"), file},
        {QStringLiteral("DeviceFilePresentation"), file},
        {QStringLiteral("DeviceMajor"), qlonglong(8)},
        {QStringLiteral("DeviceMinor"), qlonglong(32)},
        {QStringLiteral("DeviceSize"), qulonglong(4096)},
        {QStringLiteral("DeviceBlockSize"), qulonglong(512)},
        {QStringLiteral("DeviceIsDrive"), true},
        {QStringLiteral("DeviceIsPartition"), false},
        {QStringLiteral("DeviceIsSystemInternal"), false},
        {QStringLiteral("DeviceIsMediaAvailable"), true},
        {QStringLiteral("DeviceIsLuks"), true},
        {QStringLiteral("DeviceIsPartitionTable"), false},
        {QStringLiteral("PartitionTableScheme"), QString()},
        {QStringLiteral("IdUsage"), QStringLiteral("crypto")},
        {QStringLiteral("IdType"), QStringLiteral("crypto_LUKS")},
        {QStringLiteral("IdVersion"), QStringLiteral("2")},
        {QStringLiteral("IdLabel"), QStringLiteral("L")},
        {QStringLiteral("IdUuid"), QString()},
    };
    EXPECT_EQ(machineDevice(section("sdc", false), content, makedev(7, 2)).properties, expected);
}

TEST(MachineDeviceTest, ShowsDevicesThatAreNoScsiDisksUnderTheLoopDevicesNumber)
{
    const Device device = machineDevice(section("nvme0n1p1", true), {}, makedev(7, 5));
    EXPECT_EQ(shown(device, "DeviceMajor"), QVariant(qlonglong(7)));
    EXPECT_EQ(shown(device, "DeviceMinor"), QVariant(qlonglong(5)));
}

TEST(MachineDeviceTest, GivesEachContentItsUsualPartitionType)
{
    const struct
    {
        const char* content;
        const char* type;
    } table[] = {{"ntfs", "0x07"}, {"exfat", "0x07"}, {"vfat", "0x0c"},
                 {"swap", "0x82"}, {"ext4", "0x83"},  {"", "0x83"}};
    for (const auto& row : table) {
        Identification content;
        content.type = QString::fromLatin1(row.content);
        const Device device = machineDevice(section("sda1", true), content, 0);
        EXPECT_EQ(shown(device, "PartitionType").toString().toStdString(), row.type) << row.content;
    }
}

TEST(MachineDeviceTest, LetsTheFileHaveTheLastWord)
{
    MachineSection given = section("sda1", true);
    given.properties = {{QStringLiteral("IdLabel"), 7},
                        {QStringLiteral("DeviceMountPaths"), QStringList(QStringLiteral("/x"))}};
    given.missing = {QStringLiteral("IdType")};
    const Device device = machineDevice(given, ntfs(), 0);
    EXPECT_EQ(shown(device, "IdLabel"), QVariant(7));
    EXPECT_EQ(shown(device, "DeviceMountPaths"), QVariant(QStringList(QStringLiteral("/x"))));
    MountTable mounts;
    EXPECT_EQ(DeviceView::property(device, mounts, QStringLiteral("IdType")), std::nullopt);
    EXPECT_EQ(DeviceView::allProperties(device, mounts).size(),
              InterfaceDescription::device().properties().size() - 1);
}

TEST(DeviceViewTest, GoesByItsNodeAndItsLinks)
{
    MachineSection given = section("sda1", true);
    given.properties = {
        {QStringLiteral("DeviceFileByPath"), QStringList(QStringLiteral("/dev/disk/by-path/x"))}};
    const Device device = machineDevice(given, ntfs(), 0);
    for (const char* file : {"/dev/sda1", "/dev/disk/by-uuid/0123456789ABCDEF", "/dev/disk/by-path/x"}) {
        EXPECT_TRUE(device.hasFile(QString::fromLatin1(file))) << file;
    }
    EXPECT_FALSE(device.hasFile(QStringLiteral("/dev/sda")));
}

TEST(DeviceViewTest, IsFoundByTheKernelsNumberAndWithoutOneByTheShownOne)
{
    const Device real = machineDevice(section("sda1", true), {}, makedev(7, 3));
    EXPECT_TRUE(real.hasNumber(7, 3));
    EXPECT_FALSE(real.hasNumber(8, 1));
    EXPECT_TRUE(machineDevice(section("sda1", true), {}, 0).hasNumber(8, 1));
}

TEST(MachineDeviceTest, HasTheAttributesOfItsSection)
{
    MachineSection marked = section("sda1", true);
    marked.attributes = quint64(1) << 63U;
    EXPECT_EQ(machineDevice(marked, ntfs(), 0).partitionAttributes, quint64(1) << 63U);
}
