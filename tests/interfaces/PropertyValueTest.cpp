#include <gmock/gmock.h>

#include <QDBusMetaType>
#include <QDBusObjectPath>

#include "interfaces/InterfaceDescription.h"
#include "interfaces/PropertyValue.h"

namespace {

std::string signatureOf(const QVariant& value)
{
    return QDBusMetaType::typeToSignature(value.userType());
}

QString type(const char* signature)
{
    return QString::fromLatin1(signature);
}

} // namespace

TEST(PropertyValueTest, HasAnEmptyValueOfTheVeryTypeForEveryProperty)
{
    const QMap<QString, QString>& properties = InterfaceDescription::device().properties();
    ASSERT_EQ(properties.size(), 133);
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        EXPECT_EQ(signatureOf(PropertyValue::empty(*property)), property->toStdString())
            << property.key().toStdString();
    }
}

TEST(PropertyValueTest, StandsForNoObjectWithTheRootPath)
{
    EXPECT_EQ(PropertyValue::empty(type("o")).value<QDBusObjectPath>().path().toStdString(), "/");
}

TEST(PropertyValueTest, ReadsEachTypeExactly)
{
    const struct
    {
        const char* signature;
        const char* text;
        QVariant value;
    } table[] = {
        {"b", "true", true},
        {"b", "false", false},
        {"y", "255", QVariant::fromValue(uchar(255))},
        {"n", "-32768", QVariant::fromValue(short(-32768))},
        {"q", "65535", QVariant::fromValue(ushort(65535))},
        {"i", "-7", -7},
        {"u", "4294967295", 4294967295U},
        {"x", "-9223372036854775808", QVariant(std::numeric_limits<qlonglong>::min())},
        {"t", "18446744073709551615", QVariant(std::numeric_limits<qulonglong>::max())},
        {"d", "0.5", 0.5},
        {"s", "", QString()},
        {"s", "MY STICK", QStringLiteral("MY STICK")},
        {"s", "100%25", QStringLiteral("100%")},
        {"s", "%20a%0Ab\\%5C%20", QStringLiteral(" a\nb\\\\ ")},
        {"s", "\xc3\xbc%C3%BC", QStringLiteral("\u00fc\u00fc")},
        {"as", "", QStringList()},
        {"as", "one", QStringList(QStringLiteral("one"))},
        {"as", "one, two%2C three", QStringList({QStringLiteral("one"), QStringLiteral("two, three")})},
        {"ay", "a%00b", QByteArray("a\0b", 3)},
    };
    for (const auto& row : table) {
        const std::optional<QVariant> value = PropertyValue::parse(type(row.signature), row.text);
        ASSERT_TRUE(value) << row.signature << " " << row.text;
        EXPECT_EQ(signatureOf(*value), row.signature);
        EXPECT_EQ(*value, row.value) << row.signature << " " << row.text;
    }
}

TEST(PropertyValueTest, ReadsObjectPaths)
{
    const QVariant one = PropertyValue::parse(type("o"), "/a/b_1").value_or(QVariant());
    EXPECT_EQ(one.value<QDBusObjectPath>().path().toStdString(), "/a/b_1");
    const QVariant list = PropertyValue::parse(type("ao"), "/, /a").value_or(QVariant());
    EXPECT_EQ(list.value<QList<QDBusObjectPath>>(),
              QList<QDBusObjectPath>(
                  {QDBusObjectPath(QStringLiteral("/")), QDBusObjectPath(QStringLiteral("/a"))}));
}

TEST(PropertyValueTest, RefusesWhatIsNoValueOfTheType)
{
    const struct
    {
        const char* signature;
        const char* text;
    } table[] = {
        {"b", "yes"},   {"b", ""},           {"y", "256"},         {"y", "-1"},   {"n", "32768"},
        {"q", "65536"}, {"i", "2147483648"}, {"u", "-1"},          {"x", "a"},    {"x", "1 2"},
        {"t", "-1"},    {"d", "half"},       {"s", "50%"},         {"s", "%2"},   {"s", "%zz"},
        {"s", "%+1"},   {"s", "%FF"},        {"s", "%00"},         {"as", "a,%"}, {"o", ""},
        {"o", "a"},     {"o", "/a/"},        {"o", "//"},          {"ao", "/,b"}, {"ao", "%"},
        {"ay", "%"},    {"n", "-32769"},     {"i", "-2147483649"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(PropertyValue::parse(type(row.signature), row.text), std::nullopt)
            << row.signature << " " << row.text;
    }
}

TEST(PropertyValueTest, KnowsTheTypesOfTheInterfaceAndTheirNeighbours)
{
    for (const char* known : {"b", "y", "n", "q", "i", "u", "x", "t", "d", "s", "o", "as", "ao", "ay"}) {
        EXPECT_TRUE(PropertyValue::isKnownType(type(known))) << known;
    }
    for (const char* unknown : {"", "a", "v", "ss", "missing"}) {
        EXPECT_FALSE(PropertyValue::isKnownType(type(unknown))) << unknown;
    }
}

TEST(InterfaceDescriptionTest, HoldsTheWholeInterfaces)
{
    const InterfaceDescription& daemon = InterfaceDescription::daemon();
    EXPECT_EQ(daemon.name().toStdString(), "org.freedesktop.UDisks");
    EXPECT_EQ(daemon.methods().size(), 24);
    EXPECT_EQ(daemon.properties().size(), 3);
    EXPECT_EQ(daemon.methods()[QStringLiteral("FindDeviceByMajorMinor")].toStdString(), "xx");
    EXPECT_EQ(daemon.methods()[QStringLiteral("EnumerateDevices")].toStdString(), "");
    EXPECT_EQ(daemon.methods()[QStringLiteral("LinuxLvm2LVCreate")].toStdString(), "sstutuassas");
    const InterfaceDescription& device = InterfaceDescription::device();
    EXPECT_EQ(device.name().toStdString(), "org.freedesktop.UDisks.Device");
    EXPECT_EQ(device.methods().size(), 28);
}
