#include <gmock/gmock.h>

#include "drives/DeviceDump.h"
#include "drives/DeviceProperties.h"
#include "tests/support/LogWatch.h"
#include "tests/support/MachineProvider.h"

using testing::ElementsAre;

namespace {

std::vector<std::string> dumpOf(const std::string& machine)
{
    const MachineProvider devices(machine);
    LogWatch::begin(7);
    DeviceDump::write(
        DeviceProperties(QDBusObjectPath(QStringLiteral("/org/freedesktop/UDisks/devices/sda1"))));
    return LogWatch::messages(7);
}

TEST(DeviceDump, WritesTwentyLinesWithTheirLabelsAndValues)
{
    EXPECT_THAT(
        dumpOf(
            "[sda1]\nInternal = true\nDeviceMajor = 8\nDeviceMinor = 1\nDeviceFileById = /dev/a,/dev/b c\n"
            "DeviceFileByPath = /dev/p\nDeviceSize = 18446744073709551615\nDeviceBlockSize = "
            "512\nDeviceIsDrive = false\n"
            "DeviceIsMounted = true\nDeviceIsPartition = true\nIdLabel = a\"b\\%0A\nIdType = ntfs\nIdUsage = "
            "filesystem\n"
            "IdUuid = 01D2A3B4C5D6E7F8\nPartitionType = 0x07\nPartitionFlags = boot\nPartitionScheme = mbr\n"
            "DriveIsMediaEjectable = false\nDeviceIsOpticalDisc = false\n"),
        ElementsAre("  > New deviceFile:     \"/dev/sda1\" ", "deviceMajor:            8 ",
                    "deviceMinor:            1 ", "deviceFileById:         (\"/dev/a\", \"/dev/b c\") ",
                    "deviceFileByPath:       (\"/dev/p\") ", "deviceSize:             18446744073709551615 ",
                    "deviceBlockSize:        512 ", "deviceIsDrive:          false ",
                    "deviceIsMounted:        true ", "deviceIsPartition:      true ",
                    "deviceIsSystemInternal: true ", "idLabel:                \"a\"b\\\\n\" ",
                    "idType:                 \"ntfs\" ", "idUsage:                \"filesystem\" ",
                    "idUuid:                 \"01D2A3B4C5D6E7F8\" ", "partitionType:          \"0x07\" ",
                    "partitionFlags:         (\"boot\") ", "partitionScheme:        \"mbr\" ",
                    "driveIsMediaEjectable:  false ", "deviceIsOpticalDisc:    false "));
}

TEST(DeviceDump, ShowsAPropertyThatCannotBeReadAsTheEmptyValueOfItsType)
{
    EXPECT_THAT(
        dumpOf(
            "[sda1]\nDeviceFile:missing =\nDeviceMajor:u = 8\nDeviceMinor:s = 1\nDeviceFileById:s = "
            "x\nDeviceFileByPath:"
            "missing =\nDeviceSize:x = 5\nDeviceBlockSize:missing =\nDeviceIsDrive:s = "
            "true\nDeviceIsMounted:missing =\n"
            "DeviceIsPartition:u = 1\nDeviceIsSystemInternal:missing =\nIdLabel:u = 5\nIdType:missing "
            "=\nIdUsage:missing =\n"
            "IdUuid:missing =\nPartitionType:missing =\nPartitionFlags:s = boot\nPartitionScheme:missing =\n"
            "DriveIsMediaEjectable:missing =\nDeviceIsOpticalDisc:missing =\n"),
        ElementsAre(
            "  > New deviceFile:     \"\" ", "deviceMajor:            0 ", "deviceMinor:            0 ",
            "deviceFileById:         () ", "deviceFileByPath:       () ", "deviceSize:             0 ",
            "deviceBlockSize:        0 ", "deviceIsDrive:          false ", "deviceIsMounted:        false ",
            "deviceIsPartition:      false ", "deviceIsSystemInternal: false ",
            "idLabel:                \"\" ", "idType:                 \"\" ", "idUsage:                \"\" ",
            "idUuid:                 \"\" ", "partitionType:          \"\" ", "partitionFlags:         () ",
            "partitionScheme:        \"\" ", "driveIsMediaEjectable:  false ",
            "deviceIsOpticalDisc:    false "));
}

} // namespace
