#include <gmock/gmock.h>

#include "drives/DeviceProperties.h"
#include "tests/support/ScriptedUDisks.h"

namespace {

/// The text of a property; none for a property that the device does not have.
QVariant text(const char* value)
{
    return value != nullptr ? QVariant(QString::fromLatin1(value)) : QVariant();
}

/// A device that gives the answers of the test, and the properties that it was asked for.
class DevicePropertiesTest : public testing::Test
{
protected:
    void answer(const QMap<QString, QVariant>& properties)
    {
        answers = properties;
        asked.clear();
    }

    QMap<QString, QVariant> answers;
    QStringList asked;
    const ScriptedUDisks devices{{QStringLiteral("sda1")}, [this](const QString& property) {
                                     asked += property;
                                     return answers.value(property);
                                 }};
    const DeviceProperties device{QDBusObjectPath(ScriptedUDisks::objectPath(QStringLiteral("sda1")))};
};

struct ExternalRow
{
    QVariant isInternal;
    const char* usage;
    bool isExternal;
    int questions;
};

TEST_F(DevicePropertiesTest, CallExternalWhatHoldsAFileSystemAndIsNoneOfTheMachinesOwn)
{
    for (const ExternalRow& row : {ExternalRow{false, "filesystem", true, 2},
                                   {QVariant(), "filesystem", true, 2},
                                   {text("true"), "filesystem", true, 2},
                                   {true, "filesystem", false, 1},
                                   {false, "crypto", false, 2},
                                   {false, "", false, 2},
                                   {false, "Filesystem", false, 2},
                                   {false, "filesystems", false, 2},
                                   {false, nullptr, false, 2}}) {
        answer({{QStringLiteral("DeviceIsSystemInternal"), row.isInternal},
                {QStringLiteral("IdUsage"), text(row.usage)}});
        EXPECT_EQ(device.isExternal(), row.isExternal) << text(row.usage).toString().toStdString();
        EXPECT_EQ(asked, QStringList({QStringLiteral("DeviceIsSystemInternal"), QStringLiteral("IdUsage")})
                             .mid(0, row.questions));
    }
}

struct NameRow
{
    const char* label;
    const char* uuid;
    const char* name;
    int questions;
};

TEST_F(DevicePropertiesTest, NameAFileSystemByItsLabelAndAskForItsUuidOnlyWithoutOne)
{
    for (const NameRow& row : {NameRow{"DATA", "1234-ABCD", "DATA", 1},
                               {" ", "1234-ABCD", " ", 1},
                               {"", "1234-ABCD", "1234-ABCD", 2},
                               {nullptr, "1234-ABCD", "1234-ABCD", 2},
                               {"", nullptr, "", 2}}) {
        answer({{QStringLiteral("IdLabel"), text(row.label)}, {QStringLiteral("IdUuid"), text(row.uuid)}});
        EXPECT_EQ(device.labelOrUuid(), QString::fromLatin1(row.name));
        EXPECT_EQ(asked,
                  QStringList({QStringLiteral("IdLabel"), QStringLiteral("IdUuid")}).mid(0, row.questions))
            << row.name;
    }
}

struct PartitionRow
{
    QVariant major;
    QVariant isPartition;
    bool isPartitionOfScsiDisk;
    int questions;
};

TEST_F(DevicePropertiesTest, KnowThePartitionsOfScsiDisksByTheirMajorNumber)
{
    for (const PartitionRow& row : {PartitionRow{qlonglong{8}, true, true, 2},
                                    {qlonglong{8}, false, false, 2},
                                    {qlonglong{8}, QVariant(), false, 2},
                                    {qlonglong{259}, true, false, 1},
                                    {qlonglong{-8}, true, false, 1},
                                    {8U, true, false, 1},
                                    {QVariant(), true, false, 1}}) {
        answer({{QStringLiteral("DeviceMajor"), row.major},
                {QStringLiteral("DeviceIsPartition"), row.isPartition}});
        EXPECT_EQ(device.isPartitionOfScsiDisk(), row.isPartitionOfScsiDisk)
            << row.major.toString().toStdString();
        EXPECT_EQ(asked, QStringList({QStringLiteral("DeviceMajor"), QStringLiteral("DeviceIsPartition")})
                             .mid(0, row.questions));
    }
}

} // namespace
