#include "provider/udev/Placement.h"

#include <gtest/gtest.h>

#include "tests/provider/udev/RecordedMachine.h"

TEST(PlacementTest, IsDecidedByTheFirstReasonThatApplies)
{
    const std::string sata = "/devices/pci0000:00/0000:00:17.0/ata1/host0/target0:0:0/0:0:0:0/block/sda";
    const std::string nvme = "/devices/pci0000:00/0000:00:1d.0/0000:02:00.0/nvme/nvme0/nvme0n1";
    const std::string mmc = "/devices/pci0000:00/0000:00:1c.0/mmc_host/mmc0/mmc0:0001/block/mmcblk0";
    const std::string usb =
        "/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host6/target6:0:0/6:0:0:0/block/sdb";
    const std::string stick =
        "/devices/pci0000:00/0000:00:01.0/msp_card/memstick_host/memstick0/memstick0/block/mspblk0";
    const std::string fire = "/devices/pci0000:00/0000:00:05.0/fw1/fw1.0/host7/target7:0:0/7:0:0:0/block/sdc";
    const char* machineSays = "a rule of this machine says so (UDISKS_SYSTEM)";
    const char* takenOut = "its medium, or the disk itself, can be taken out";
    const char* nothing = "nothing says that it can be taken away";
    const struct
    {
        const char* kind;
        std::string path;
        BlockDevice::Properties properties;
        std::map<std::string, std::string> attributes;
        bool isInternal;
        std::string reason;
    } table[] = {
        {"SATA", sata, {{"ID_BUS", "ata"}}, {{"removable", "0"}}, true, nothing},
        {"eSATA, as the kernel shows a port to the outside", sata, {}, {{"removable", "1"}}, false, takenOut},
        {"SCSI", sata, {{"ID_BUS", "scsi"}}, {{"removable", "0"}}, true, nothing},
        {"NVMe", nvme, {}, {{"removable", "0"}}, true, nothing},
        {"NVMe on a fixed slot",
         nvme,
         {},
         {{"/devices/pci0000:00/0000:00:1d.0/removable", "fixed"}},
         true,
         nothing},
        {"NVMe in a Thunderbolt box",
         nvme,
         {},
         {{"/devices/pci0000:00/0000:00:1d.0/removable", "removable"}},
         false,
         "behind a port of the machine's outside, such as Thunderbolt"},
        {"virtio",
         "/devices/pci0000:00/0000:00:02.0/virtio1/block/vda",
         {},
         {{"removable", "0"}},
         true,
         nothing},
        {"eMMC", mmc, {}, {{"device/type", "MMC"}, {"removable", "0"}}, true, "eMMC is soldered in"},
        {"eMMC in a slot that is called removable",
         mmc,
         {},
         {{"device/type", "MMC"},
          {"/devices/pci0000:00/0000:00:1c.0/mmc_host/mmc0/mmc0:0001/removable", "removable"}},
         true,
         "eMMC is soldered in"},
        {"SD card", mmc, {}, {{"device/type", "SD"}}, false, "an SD card"},
        {"memory stick", stick, {}, {}, false, "a memory stick in its slot"},
        {"SCSI disk of type SD", sata, {}, {{"device/type", "SD"}}, true, nothing},
        {"stick", usb, {{"ID_BUS", "usb"}}, {{"removable", "1"}}, false, takenOut},
        {"USB disk", usb, {{"ID_BUS", "usb"}}, {{"removable", "0"}}, false, "on USB"},
        {"UAS", usb, {{"ID_BUS", "ata"}}, {{"removable", "0"}}, false, "on USB"},
        {"FireWire", fire, {}, {{"removable", "0"}}, false, "on FireWire"},
        {"FireWire, by udev", sata, {{"ID_BUS", "ieee1394"}}, {}, false, "on FireWire"},
        {"optical",
         sata,
         {{"ID_CDROM", "1"}},
         {{"removable", "1"}},
         false,
         "an optical drive: its discs come and go"},
        {"floppy", "/devices/platform/floppy.0/block/fd0", {}, {{"removable", "1"}}, false, takenOut},
        {"UDISKS_SYSTEM on USB", usb, {{"UDISKS_SYSTEM", "1"}}, {{"removable", "1"}}, true, machineSays},
        {"UDISKS_SYSTEM on SATA", sata, {{"UDISKS_SYSTEM", "0"}}, {}, false, machineSays},
        {"UDISKS_SYSTEM that says neither", usb, {{"UDISKS_SYSTEM", "yes"}}, {}, false, "on USB"},
        {"loop", "/devices/virtual/block/loop0", {}, {{"removable", "0"}}, true, nothing},
    };
    for (const auto& row : table) {
        RecordedMachine machine({});
        BlockDevice::Properties properties = row.properties;
        properties["DEVPATH"] = QByteArray::fromStdString(row.path);
        for (const auto& [name, value] : row.attributes) {
            machine.setAttribute(name[0] == '/' ? name : row.path + "/" + name, value);
        }
        const Placement disk = placementOf(BlockDevice(properties), machine.sysfs());
        EXPECT_EQ(disk.isInternal, row.isInternal) << row.kind;
        EXPECT_EQ(disk.reason, row.reason) << row.kind;
        properties["DEVPATH"] += "/p1";
        properties["DEVTYPE"] = "partition";
        EXPECT_EQ(placementOf(BlockDevice(properties), machine.sysfs()).reason, row.reason)
            << row.kind << " partition";
    }
}

TEST(PlacementTest, OfWhatIsMadeOfOtherDevicesIsTheirs)
{
    const RecordedMachine machine({"stick", "lvm", "luks"});
    EXPECT_TRUE(placementOf(machine.device("dm-1"), machine.sysfs()).isInternal);
    const Placement opened = placementOf(machine.device("dm-0"), machine.sysfs());
    EXPECT_FALSE(opened.isInternal);
    EXPECT_STREQ(opened.reason, "made of a device that is external");
    machine.link("/devices/virtual/block/dm-7/slaves/dm-0", "/devices/virtual/block/dm-0");
    const BlockDevice onTop({{"DEVPATH", "/devices/virtual/block/dm-7"}});
    EXPECT_FALSE(placementOf(onTop, machine.sysfs()).isInternal);
    const std::string esata = "/devices/pci0000:00/ata9/block/sdz";
    machine.setAttribute(esata + "/removable", "1");
    machine.setAttribute(esata + "/sdz1/partition", "1");
    machine.link("/devices/virtual/block/dm-8/slaves/sdz1", esata + "/sdz1");
    EXPECT_FALSE(
        placementOf(BlockDevice({{"DEVPATH", "/devices/virtual/block/dm-8"}}), machine.sysfs()).isInternal);
}
