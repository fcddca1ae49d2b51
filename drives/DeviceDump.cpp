#include "drives/DeviceDump.h"

#include "drives/DeviceProperties.h"
#include "log/LogText.h"
#include "process/StopRequest.h"

namespace DeviceDump {
namespace {

using Form = QString (*)(const DeviceProperties& device, const char* property);

QString text(const DeviceProperties& device, const char* property)
{
    return LogText::quoted(device.text(property));
}

QString list(const DeviceProperties& device, const char* property)
{
    return LogText::list(device.list(property));
}

QString number(const DeviceProperties& device, const char* property)
{
    return QString::number(device.number(property));
}

QString size(const DeviceProperties& device, const char* property)
{
    return QString::number(device.size(property));
}

QString flag(const DeviceProperties& device, const char* property)
{
    return device.flag(property) ? QStringLiteral("true") : QStringLiteral("false");
}

struct Row
{
    const char* label;
    const char* property;
    Form form;
};

// Kept: every label has 23 characters. The first alone begins with "  > ", which marks where a device's block
// starts; "deviceIsSystemInternal:" fills the 23 by itself.
constexpr Row Rows[] = {
    {"  > New deviceFile:    ", "DeviceFile", text},
    {"deviceMajor:           ", "DeviceMajor", number},
    {"deviceMinor:           ", "DeviceMinor", number},
    {"deviceFileById:        ", "DeviceFileById", list},
    {"deviceFileByPath:      ", "DeviceFileByPath", list},
    {"deviceSize:            ", "DeviceSize", size},
    {"deviceBlockSize:       ", "DeviceBlockSize", size},
    {"deviceIsDrive:         ", "DeviceIsDrive", flag},
    {"deviceIsMounted:       ", "DeviceIsMounted", flag},
    {"deviceIsPartition:     ", "DeviceIsPartition", flag},
    {"deviceIsSystemInternal:", "DeviceIsSystemInternal", flag},
    {"idLabel:               ", "IdLabel", text},
    {"idType:                ", "IdType", text},
    {"idUsage:               ", "IdUsage", text},
    {"idUuid:                ", "IdUuid", text},
    {"partitionType:         ", "PartitionType", text},
    {"partitionFlags:        ", "PartitionFlags", list},
    {"partitionScheme:       ", "PartitionScheme", text},
    {"driveIsMediaEjectable: ", "DriveIsMediaEjectable", flag},
    {"deviceIsOpticalDisc:   ", "DeviceIsOpticalDisc", flag},
};

} // namespace

void write(const DeviceProperties& device)
{
    if (!LogText::takesDebug()) {
        return;
    }
    for (const Row& row : Rows) {
        const QString value = row.form(device, row.property);
        if (StopRequest::isMade()) {
            return;
        }
        LogText::debugLabelled(row.label, value);
    }
}

} // namespace DeviceDump
