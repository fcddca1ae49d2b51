#include "tests/provider/today/SampleDevices.h"

#include <cstring>

#include <QDBusObjectPath>

#include "interfaces/ObjectPath.h"
#include "provider/machine/NodeName.h"

namespace SampleDevices {
namespace {

qlonglong majorOf(const QString& node)
{
    constexpr qlonglong ScsiMajor = 8;
    constexpr qlonglong ExtendedMajor = 259;
    return node.startsWith(QLatin1String("sd")) ? ScsiMajor : ExtendedMajor;
}

} // namespace

Device device(const QString& node, const QVariantMap& properties)
{
    const NodeName name(node);
    Device result;
    result.objectPath = ObjectPath::ofDevice(node.toUtf8());
    result.properties = {
        {QStringLiteral("DeviceFile"), QStringLiteral("/dev/") + node},
        {QStringLiteral("DeviceMajor"), majorOf(node)},
        {QStringLiteral("DeviceIsPartition"), name.isPartition()},
    };
    if (name.isPartition()) {
        const QDBusObjectPath disk(ObjectPath::ofDevice(name.disk().toUtf8()));
        result.properties.insert(QStringLiteral("PartitionSlave"), QVariant::fromValue(disk));
    }
    result.properties.insert(properties);
    return result;
}

Device internal(const QString& node, const QString& type, const QVariantMap& properties)
{
    Device result = device(node, {{QStringLiteral("DeviceIsSystemInternal"), true},
                                  {QStringLiteral("IdUsage"), QStringLiteral("filesystem")},
                                  {QStringLiteral("IdType"), type}});
    result.properties.insert(properties);
    return result;
}

Device external(const QString& node, const QString& type, const QString& label, const QVariantMap& properties)
{
    Device result = device(node, {{QStringLiteral("DeviceIsSystemInternal"), false},
                                  {QStringLiteral("IdUsage"), QStringLiteral("filesystem")},
                                  {QStringLiteral("IdType"), type},
                                  {QStringLiteral("IdLabel"), label}});
    result.properties.insert(properties);
    return result;
}

Picture present(const std::vector<Device>& devices, const Rules::Selection& rules,
                const Circumstances& circumstances)
{
    std::vector<const Device*> pointers;
    pointers.reserve(devices.size());
    for (const Device& one : devices) {
        pointers.push_back(&one);
    }
    return Rules::present(pointers, rules, circumstances);
}

Rules::Selection only(const char* word)
{
    for (const Rule& rule : Rules::all()) {
        if (std::strcmp(rule.word, word) == 0) {
            return {&rule};
        }
    }
    throw std::runtime_error(std::string("there is no rule ") + word);
}

std::vector<std::string> nodes(const Picture& picture)
{
    std::vector<std::string> result;
    for (const Presentation& one : picture) {
        if (one.isOffered) {
            result.push_back(one.shown.objectPath.section(QLatin1Char('/'), -1).toStdString());
        }
    }
    return result;
}

std::vector<std::string> shown(const Picture& picture, const char* property)
{
    std::vector<std::string> result;
    for (const Presentation& one : picture) {
        result.push_back(one.shown.properties.value(QString::fromLatin1(property)).toString().toStdString());
    }
    return result;
}

std::vector<std::string> reasons(const Presentation& device)
{
    std::vector<std::string> result;
    for (const Rule* rule : device.reasons) {
        result.emplace_back(rule->word);
    }
    return result;
}

} // namespace SampleDevices
