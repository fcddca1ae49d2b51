#include <gmock/gmock.h>

#include <QDBusConnection>
#include <QMetaMethod>
#include <QMetaProperty>

#include "QDBusUDisksDeviceProxy.h"
#include "QDBusUDisksProxy.h"
#include "interfaces/UDisks.h"

namespace {

struct Members
{
    int signalCount = 0;
    int slotCount = 0;
    int propertyCount = 0;
};

Members membersOf(const QMetaObject& meta)
{
    Members members;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const bool isSignal = meta.method(i).methodType() == QMetaMethod::Signal;
        ++(isSignal ? members.signalCount : members.slotCount);
    }
    members.propertyCount = meta.propertyCount() - meta.propertyOffset();
    return members;
}

TEST(Proxies, BearTheInterfaceNames)
{
    EXPECT_STREQ(QDBusUDisksProxy::staticInterfaceName(), "org.freedesktop.UDisks");
    EXPECT_STREQ(QDBusUDisksDeviceProxy::staticInterfaceName(), "org.freedesktop.UDisks.Device");
}

TEST(Proxies, CarryTheWholeInterfaces)
{
    const Members daemon = membersOf(QDBusUDisksProxy::staticMetaObject);
    EXPECT_EQ(daemon.signalCount, 13);
    EXPECT_EQ(daemon.slotCount, 24);
    EXPECT_EQ(daemon.propertyCount, 3);
    const Members device = membersOf(QDBusUDisksDeviceProxy::staticMetaObject);
    EXPECT_EQ(device.signalCount, 2);
    EXPECT_EQ(device.slotCount, 28);
    EXPECT_EQ(device.propertyCount, 133);
}

struct PropertyRow
{
    const char* name;
    int type;
};

TEST(Proxies, ReadTheUsedPropertiesInTheirTypes)
{
    const QMetaObject& meta = QDBusUDisksDeviceProxy::staticMetaObject;
    for (const PropertyRow& row : {PropertyRow{"DeviceFile", QMetaType::QString},
                                   {"DeviceMajor", QMetaType::LongLong},
                                   {"DeviceMinor", QMetaType::LongLong},
                                   {"DeviceSize", QMetaType::ULongLong},
                                   {"DeviceBlockSize", QMetaType::ULongLong},
                                   {"DeviceMountPaths", QMetaType::QStringList},
                                   {"DeviceFileById", QMetaType::QStringList},
                                   {"DeviceIsPartition", QMetaType::Bool},
                                   {"PartitionFlags", QMetaType::QStringList},
                                   {"PartitionNumber", QMetaType::Int},
                                   {"DeviceMountedByUid", QMetaType::UInt},
                                   {"JobPercentage", QMetaType::Double},
                                   {"DriveAtaSmartBlob", QMetaType::QByteArray}}) {
        const QMetaProperty property = meta.property(meta.indexOfProperty(row.name));
        EXPECT_EQ(property.userType(), row.type) << row.name;
        EXPECT_FALSE(property.isWritable()) << row.name;
    }
}

} // namespace
