#pragma once

#include <string>
#include <vector>

#include "provider/UDisks2Objects.h"

/// What UDisks2 manages on machines with disks of every kind.
namespace SampleDisks {

// Major numbers that no kernel gives out, so that the machine that runs the tests knows none of these
// devices. The SCSI disks have their own: every kernel calls those by the same names.
constexpr unsigned NVME = 3259;
constexpr unsigned EMMC = 3179;
constexpr unsigned VIRTIO = 3254;
constexpr unsigned MAPPER = 3253;
constexpr unsigned LOOP = 3007;

/// UDisks2's path of a block device.
QDBusObjectPath blockPath(const std::string& name);
QDBusObjectPath drivePath(const std::string& name);

/// Texts ending in a NUL, as UDisks2 gives file names.
QByteArray fileName(const std::string& name);

/// A block device; `more` comes on top of its properties.
UDisks2Interfaces block(const std::string& node, unsigned majorNumber, unsigned minorNumber, qulonglong size,
                        const QVariantMap& more = {});
QVariantMap links(const std::vector<std::string>& names);
QVariantMap holds(const std::string& usage, const std::string& type, const std::string& label = "",
                  const std::string& uuid = "");
/// Without what UDisks2 learns a moment later.
UDisks2Interfaces unidentified(UDisks2Interfaces block);
QVariantMap onDrive(const std::string& drive);
QVariantMap internal();

QVariantMap partition(const std::string& disk, uint number, const std::string& type, qulonglong flags = 0);
QVariantMap table(const std::string& type);

/// Two sets of objects or properties in one.
UDisks2Objects operator+(UDisks2Objects left, const UDisks2Objects& right);
QVariantMap operator+(QVariantMap left, const QVariantMap& right);

// The kinds of devices, each a disk with all that is on it.
UDisks2Objects sataDisk();          ///< sda, MBR: NTFS (boot), extended, logical ext4
UDisks2Objects nvmeDisk();          ///< nvme0n1, GPT: ESP (required), NTFS
UDisks2Objects emmcDisk();          ///< mmcblk0, GPT: NTFS
UDisks2Objects virtioDisk();        ///< vda, MBR: NTFS
UDisks2Objects stick();             ///< sdb, MBR: vfat
UDisks2Objects stickWithoutTable(); ///< sdc: vfat
UDisks2Objects usbDisk();           ///< sdd, GPT: NTFS
UDisks2Objects opticalDrive();      ///< sr0 with a disc
UDisks2Objects luks();              ///< sde1, and dm-0 that is open on it
UDisks2Objects emptyCardReader();   ///< sdf
UDisks2Objects loopDevices();       ///< loop0 with a file, loop1 without, ram0
UDisks2Objects all();

} // namespace SampleDisks
