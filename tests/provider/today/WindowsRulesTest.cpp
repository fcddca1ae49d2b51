#include <gmock/gmock.h>

#include "tests/provider/today/SampleDevices.h"

using namespace SampleDevices;
using testing::ElementsAre;

namespace {

const QString Ntfs = QStringLiteral("ntfs");
const QString Ext4 = QStringLiteral("ext4");
const QString BasicData = QStringLiteral("EBD0A0A2-B9E5-4433-87C0-68B6B72699C7");

QVariantMap partition(const char* scheme, const QString& type)
{
    return {{QStringLiteral("PartitionScheme"), QString::fromLatin1(scheme)},
            {QStringLiteral("PartitionType"), type}};
}

std::string majorOf(const Device& device)
{
    return shown(present({device}), "DeviceMajor").front();
}

Device gpt(const QString& node, const QString& type, quint64 attributes = 0)
{
    Device result = internal(node, Ntfs, partition("gpt", type));
    result.partitionAttributes = attributes;
    return result;
}

Device mbr(const QString& node, const QString& type)
{
    return internal(node, Ntfs, partition("mbr", type));
}

} // namespace

TEST(WindowsRulesTest, ShowPartitionsOfInternalDisksOnTheScsiMajor)
{
    const QVariantMap md{{QStringLiteral("DeviceMajor"), qlonglong(9)}};
    const QVariantMap sdq{{QStringLiteral("DeviceMajor"), qlonglong(65)}};
    const QVariantMap sdco{{QStringLiteral("DeviceMajor"), qlonglong(71)}};
    const QVariantMap justBelow{{QStringLiteral("DeviceMajor"), qlonglong(64)}};
    const QVariantMap justAbove{{QStringLiteral("DeviceMajor"), qlonglong(72)}};
    const QVariantMap sdec{{QStringLiteral("DeviceMajor"), qlonglong(128)}};
    const QVariantMap last{{QStringLiteral("DeviceMajor"), qlonglong(135)}};
    const QVariantMap beyond{{QStringLiteral("DeviceMajor"), qlonglong(136)}};
    const QVariantMap before{{QStringLiteral("DeviceMajor"), qlonglong(127)}};
    const struct
    {
        Device device;
        const char* major;
    } table[] = {
        {internal(QStringLiteral("nvme0n1p3"), Ext4), "8"},
        {internal(QStringLiteral("mmcblk0p1"), Ext4), "8"},
        {internal(QStringLiteral("vda1"), Ext4), "8"},
        {internal(QStringLiteral("sda1"), Ext4), "8"},
        {internal(QStringLiteral("nvme0n1"), Ext4), "259"},
        {external(QStringLiteral("mmcblk1p1"), Ext4, QString()), "259"},
        {internal(QStringLiteral("loop0p1"), Ext4), "259"},
        {internal(QStringLiteral("md0p1"), Ext4, md), "8"},
        {internal(QStringLiteral("sdq1"), Ext4, sdq), "65"},
        {internal(QStringLiteral("sdco1"), Ext4, sdco), "71"},
        {internal(QStringLiteral("sda1"), Ext4, justBelow), "8"},
        {internal(QStringLiteral("sda1"), Ext4, justAbove), "8"},
        {internal(QStringLiteral("sdec1"), Ext4, sdec), "128"},
        {internal(QStringLiteral("sdiv1"), Ext4, last), "135"},
        {internal(QStringLiteral("sdiw1"), Ext4, beyond), "8"},
        {internal(QStringLiteral("sdiw1"), Ext4, before), "8"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(majorOf(row.device), row.major) << row.device.objectPath.toStdString();
    }
}

TEST(WindowsRulesTest, WithholdLettersAsWindowsDoes)
{
    constexpr quint64 Bit60 = quint64(1) << 60U; // read-only
    constexpr quint64 Bit62 = quint64(1) << 62U;
    constexpr quint64 Bit63 = quint64(1) << 63U;
    const QString sda = QStringLiteral("sda1");
    const QString nvme = QStringLiteral("nvme0n1p1");
    const QString efi = QStringLiteral("C12A7328-F81F-11D2-BA4B-00A0C93EC93B");
    Device unpartitioned = internal(sda, Ntfs);
    unpartitioned.partitionAttributes = Bit62;
    Device mbrWithBits = mbr(sda, QStringLiteral("0x07"));
    mbrWithBits.partitionAttributes = Bit63;
    const struct
    {
        Device device;
        const char* major;
    } table[] = {
        {gpt(sda, BasicData), "8"},
        {gpt(nvme, BasicData), "8"},
        {gpt(sda, BasicData, Bit62), "0"},
        {gpt(sda, BasicData, Bit63), "0"},
        {gpt(sda, BasicData, Bit60 | 1), "8"},
        {gpt(nvme, BasicData, Bit63), "259"},
        {gpt(sda, efi), "0"},
        {gpt(nvme, efi), "259"},
        {gpt(sda, efi.toLower()), "0"},
        {gpt(sda, QStringLiteral("E3C9E316-0B5C-4DB8-817D-F92DF00215AE")), "0"},
        {gpt(sda, QStringLiteral("DE94BBA4-06D1-4D40-A16A-BFD50179D6AC")), "0"},
        {external(sda, Ntfs, QString(), partition("gpt", efi)), "0"},
        {mbr(sda, efi), "8"},
        {unpartitioned, "8"},
        {mbrWithBits, "8"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(majorOf(row.device), row.major)
            << row.device.properties.value(QStringLiteral("PartitionType")).toString().toStdString();
    }
}

TEST(WindowsRulesTest, WithholdLettersForTheseMbrTypesOnly)
{
    std::vector<std::string> withheld;
    for (uint type = 0; type <= 0xff; ++type) {
        const QString text = QStringLiteral("0x%1").arg(type, 2, 16, QLatin1Char('0'));
        if (majorOf(mbr(QStringLiteral("sda1"), text)) == "0") {
            withheld.push_back(text.toStdString());
        }
    }
    EXPECT_THAT(withheld,
                ElementsAre("0x11", "0x12", "0x14", "0x16", "0x17", "0x1b", "0x1c", "0x1e", "0x27", "0xef"));
}

TEST(WindowsRulesTest, TakeATypeInOneDigitForTheSame)
{
    EXPECT_EQ(majorOf(mbr(QStringLiteral("sda1"), QStringLiteral("0xEF"))), "0");
    EXPECT_EQ(majorOf(mbr(QStringLiteral("sda1"), QStringLiteral("0x7"))), "8");
}

TEST(WindowsRulesTest, PutWindowsOfInternalDisksFirstAndKeepTheOrderOtherwise)
{
    const auto node = [](const char* name) { return QString::fromLatin1(name); };
    const Picture picture = present({
        internal(node("sda"), QString()),
        internal(node("sda1"), Ext4),
        internal(node("sda2"), QStringLiteral("swap")),
        internal(node("sda3"), Ntfs),
        external(node("sdb1"), Ntfs, QString()),
        internal(node("nvme0n1p1"), QStringLiteral("vfat")),
        internal(node("nvme0n1p2"), QStringLiteral("exfat")),
        internal(node("nvme0n1p3"), QStringLiteral("BitLocker")),
        internal(node("sdd"), Ntfs),
    });
    EXPECT_THAT(nodes(picture), ElementsAre("sda3", "nvme0n1p1", "nvme0n1p2", "sda", "sda1", "sda2", "sdb1",
                                            "nvme0n1p3", "sdd"));
    EXPECT_THAT(reasons(picture[0]), ElementsAre("windows-first"));
    EXPECT_THAT(reasons(picture[4]), testing::IsEmpty()) << "it was passed, and has not moved itself";
}
