#include <algorithm>

#include <gmock/gmock.h>

#include <sys/sysmacros.h>

#include "provider/udev/BusOrder.h"

namespace {

struct Sample
{
    const char* link;
    int partition;
    dev_t number;
};

BusOrder order(const Sample& sample)
{
    return BusOrder::of(sample.link != nullptr ? QStringList(QString::fromLatin1(sample.link))
                                               : QStringList(),
                        sample.partition, sample.number);
}

} // namespace

TEST(BusOrderTest, GoesByPlaceThenByPartitionAndPutsDevicesWithoutAPlaceLast)
{
    const std::vector<Sample> inOrder{
        {"/dev/disk/by-path/pci-0000:00:02.0-ata-1", 0, makedev(8, 16)},
        {"/dev/disk/by-path/pci-0000:00:02.0-ata-1-part1", 1, makedev(8, 17)},
        {"/dev/disk/by-path/pci-0000:00:02.0-ata-1-part2", 2, makedev(8, 18)},
        {"/dev/disk/by-path/pci-0000:00:02.0-ata-1-part10", 10, makedev(8, 26)},
        {"/dev/disk/by-path/pci-0000:00:02.0-ata-2", 0, makedev(8, 0)},
        {"/dev/disk/by-path/pci-0000:00:02.0-ata-2-part1", 1, makedev(8, 1)},
        {"/dev/disk/by-path/pci-0000:00:02.0-ata-10", 0, makedev(8, 32)},
        {"/dev/disk/by-path/pci-0000:00:14.0-usb-0:2:1.0-scsi-0:0:0:0", 0, makedev(8, 48)},
        {"/dev/disk/by-path/virtual-999999999999999", 0, makedev(8, 80)},
        {"/dev/disk/by-path/virtual-1000000000000000", 0, makedev(8, 64)},
        {nullptr, 0, makedev(7, 0)},
        {nullptr, 3, makedev(8, 99)},
        {nullptr, 0, makedev(253, 0)},
        {nullptr, 0, makedev(253, 1)},
    };
    for (size_t left = 0; left < inOrder.size(); ++left) {
        for (size_t right = 0; right < inOrder.size(); ++right) {
            EXPECT_EQ(order(inOrder[left]) < order(inOrder[right]), left < right) << left << " " << right;
        }
    }
}

TEST(BusOrderTest, TakesTheFirstOfSeveralPlaces)
{
    const QString nine = QStringLiteral("/dev/disk/by-path/pci-9");
    const QString ten = QStringLiteral("/dev/disk/by-path/pci-10");
    const BusOrder first = BusOrder::of({nine}, 0, makedev(8, 0));
    for (const QStringList& both : {QStringList({nine, ten}), QStringList({ten, nine})}) {
        EXPECT_EQ(BusOrder::of(both, 0, makedev(8, 0)).place, first.place);
    }
}

TEST(BusOrderTest, PassesOverLinksThatLieDeeper)
{
    const QString place = QStringLiteral("/dev/disk/by-path/pci-0000:00:17.0-ata-2");
    const QString deeper = QStringLiteral("/dev/disk/by-path/pci-0000:00:17.0-ata-2-part/by-label/A");
    EXPECT_EQ(BusOrder::of({deeper, place}, 0, makedev(8, 0)).place.toStdString(),
              BusOrder::of({place}, 0, makedev(8, 0)).place.toStdString());
    EXPECT_EQ(BusOrder::of({deeper}, 0, makedev(8, 0)).place, QString());
}
