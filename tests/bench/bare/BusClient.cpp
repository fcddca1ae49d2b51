// Connects to the system bus, asks UDisks for its devices and ends: what any program of this framework spends
// before it has done anything for a device. "bare_bus_client ask" also asks the questions that the service
// has to ask about each device, in the same order, and does nothing with the answers; "ask-all" asks those
// for the debug lines of the log too.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>

namespace {

using Questions = QList<const char*>;

/// For the log.
const Questions ToShow = {"DeviceFile",
                          "DeviceMajor",
                          "DeviceMinor",
                          "DeviceFileById",
                          "DeviceFileByPath",
                          "DeviceSize",
                          "DeviceBlockSize",
                          "DeviceIsDrive",
                          "DeviceIsMounted",
                          "DeviceIsPartition",
                          "DeviceIsSystemInternal",
                          "IdLabel",
                          "IdType",
                          "IdUsage",
                          "IdUuid",
                          "PartitionType",
                          "PartitionFlags",
                          "PartitionScheme",
                          "DriveIsMediaEjectable",
                          "DeviceIsOpticalDisc"};

/// To see whether it is a partition of a disk.
const Questions ToKnow = {"DeviceMajor", "DeviceIsPartition"};

/// To mount it, and to arrange it.
const Questions ToArrange = {"IdType",     "DeviceIsSystemInternal",
                             "DeviceFile", "DeviceMountPaths",
                             "DeviceFile", "IdLabel",
                             "DeviceFile", "IdType"};

QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                  const QVariantList& arguments)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.UDisks"), path, interface, method);
    message.setArguments(arguments);
    return QDBusConnection::systemBus().call(message);
}

void ask(const QList<QDBusObjectPath>& devices, const Questions& questions)
{
    for (const QDBusObjectPath& device : devices) {
        for (const char* property : questions) {
            call(device.path(), QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                 {QStringLiteral("org.freedesktop.UDisks.Device"), QString::fromLatin1(property)});
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QDBusReply<QList<QDBusObjectPath>> devices =
        call(QStringLiteral("/org/freedesktop/UDisks"), QStringLiteral("org.freedesktop.UDisks"),
             QStringLiteral("EnumerateDevices"), {});
    const QString mode = QString::fromLocal8Bit(argc > 1 ? argv[1] : "");
    if (!mode.isEmpty()) {
        ask(devices.value(), mode == QLatin1String("ask-all") ? ToShow + ToKnow : ToKnow);
        ask(devices.value(), ToArrange);
    }
    return devices.isValid() ? 0 : 1;
}
