#include <gmock/gmock.h>

#include "tests/provider/today/SampleDevices.h"

using namespace SampleDevices;
using testing::ElementsAre;

namespace {

const QString Ntfs = QStringLiteral("ntfs");
const QString Vfat = QStringLiteral("vfat");

std::string labelOf(const Device& device)
{
    return shown(present({device}), "IdLabel").front();
}

/// External file systems sdb1, sdc1, ... with these labels.
std::vector<Device> sticks(const std::vector<const char*>& labels)
{
    std::vector<Device> result;
    result.reserve(labels.size());
    char letter = 'b';
    for (const char* label : labels) {
        result.push_back(external(QStringLiteral("sd%1%2").arg(QLatin1Char(letter++)).arg(1), Vfat,
                                  QString::fromUtf8(label)));
    }
    return result;
}

Device withUuid(const char* node, const char* uuid)
{
    return external(QString::fromLatin1(node), Vfat, QString(),
                    {{QStringLiteral("IdUuid"), QString::fromLatin1(uuid)}});
}

std::vector<std::string> labelsOf(const std::vector<Device>& devices, const Circumstances& circumstances = {})
{
    return shown(present(devices, Rules::allBut({}), circumstances), "IdLabel");
}

Circumstances named(const std::vector<std::pair<const char*, const char*>>& names)
{
    Circumstances result;
    for (const auto& [node, name] : names) {
        result.names.emplace(device(QString::fromLatin1(node)).objectPath, QString::fromUtf8(name));
    }
    return result;
}

} // namespace

TEST(LabelRulesTest, ReplaceWhatTheShellWouldSplit)
{
    const QString node = QStringLiteral("sdb1");
    const struct
    {
        Device device;
        const char* label;
    } table[] = {
        {external(node, Ntfs, QStringLiteral("My Passport")), "My_Passport"},
        {external(node, Ntfs, QStringLiteral(" two  blanks\tand a tab ")), "_two__blanks_and_a_tab_"},
        {external(node, Ntfs, QStringLiteral("line\nfeed;$(x)")), "line\nfeed;$(x)"},
        {external(node, Ntfs, QStringLiteral("\u00a0")), "\xc2\xa0"},
        {external(node, Vfat, QStringLiteral("My Passport")), "My Passport"},
        {internal(node, Ntfs, {{QStringLiteral("IdLabel"), QStringLiteral("My Disk")}}), "My Disk"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(labelOf(row.device), row.label);
    }
}

TEST(LabelRulesTest, GiveNobodyTheDirectoryOfAWindowsDrive)
{
    const QString node = QStringLiteral("sdb1");
    const struct
    {
        Device device;
        const char* label;
    } table[] = {
        {external(node, Vfat, QStringLiteral("C:")), "C_"},
        {external(node, Ntfs, QStringLiteral("z:")), "z_"},
        {external(node, Vfat, QStringLiteral("system-reserved")), "system_reserved"},
        {external(node, Vfat, QStringLiteral("C")), "C"},
        {external(node, Vfat, QStringLiteral("C:\n")), "C:\n"},
        {external(node, Vfat, QStringLiteral("CC:")), "CC:"},
        {external(node, Vfat, QStringLiteral("1:")), "1:"},
        {external(node, Vfat, QStringLiteral("C:a")), "C:a"},
        {external(node, Vfat, QStringLiteral("\u00c4:")), "\u00c4:"},
        {external(node, Vfat, QStringLiteral("System-Reserved")), "System-Reserved"},
        {internal(node, Ntfs, {{QStringLiteral("IdLabel"), QStringLiteral("C:")}}), "C:"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(labelOf(row.device), row.label);
    }
}

TEST(LabelRulesTest, NumberEqualNamesInTheOrderOfTheDevices)
{
    EXPECT_THAT(labelsOf(sticks({"A", "B", "A", "A"})), ElementsAre("A", "B", "A_2", "A_3"));
}

TEST(LabelRulesTest, NeverGiveANameThatAnotherHasAsItsOwn)
{
    EXPECT_THAT(labelsOf(sticks({"X", "X", "X_2"})), ElementsAre("X", "X_3", "X_2"));
    EXPECT_THAT(labelsOf(sticks({"X", "X", "X_2"}), named({{"sdb1", "X"}, {"sdc1", "X_2"}})),
                ElementsAre("X", "X_2", "X_2_2"));
    EXPECT_THAT(labelsOf(sticks({"x", "X"})), ElementsAre("x", "X"));
}

TEST(LabelRulesTest, CompareNamesAsTheyAreShown)
{
    EXPECT_THAT(labelsOf({external(QStringLiteral("sdb1"), Ntfs, QStringLiteral("a b")),
                          external(QStringLiteral("sdc1"), Vfat, QStringLiteral("a_b")),
                          external(QStringLiteral("sdd1"), Vfat, QStringLiteral("C:")),
                          external(QStringLiteral("sde1"), Vfat, QStringLiteral("C_"))}),
                ElementsAre("a_b", "a_b_2", "C_", "C__2"));
}

TEST(LabelRulesTest, KeepANameForAsLongAsTheDeviceIsThere)
{
    EXPECT_THAT(labelsOf(sticks({"A", "A"}), named({{"sdb1", "A_2"}, {"sdc1", "A"}})),
                ElementsAre("A_2", "A"));
    EXPECT_THAT(labelsOf(sticks({"A"}), named({{"sdb1", "A_2"}})), ElementsAre("A_2"));
    EXPECT_THAT(labelsOf(sticks({"A", "A"}), named({{"sdc1", "A"}})), ElementsAre("A_2", "A"));
}

TEST(LabelRulesTest, ForgetANameThatIsOfAnotherLabel)
{
    const struct
    {
        const char* label;
        const char* name;
        const char* shown;
    } table[] = {
        {"B", "A_2", "B"},   {"A", "A_", "A"},      {"A", "A_0", "A"},  {"A", "A_2x", "A"}, {"A", "AB", "A"},
        {"A", "A_2\n", "A"}, {"A", "A_12", "A_12"}, {"A", "A_02", "A"}, {"A", "A_+2", "A"},
    };
    for (const auto& row : table) {
        EXPECT_THAT(labelsOf(sticks({row.label}), named({{"sdb1", row.name}})), ElementsAre(row.shown))
            << row.name;
    }
    EXPECT_THAT(labelsOf(sticks({"A", "A"}), named({{"sdb1", "A_2"}, {"sdc1", "A_2"}})),
                ElementsAre("A_2", "A"))
        << "two cannot have the same";
}

TEST(LabelRulesTest, NumberUuidsOfThoseWithoutALabelInALabel)
{
    const Picture picture =
        present({withUuid("sdb1", "1234-ABCD"), withUuid("sdc1", "1234-ABCD"), withUuid("sdd1", ""),
                 withUuid("sde1", ""), external(QStringLiteral("sdf1"), Vfat, QStringLiteral("1234-ABCD"))});
    EXPECT_THAT(shown(picture, "IdLabel"), ElementsAre("", "1234-ABCD_2", "", "", "1234-ABCD_3"));
    EXPECT_THAT(shown(picture, "IdUuid"), ElementsAre("1234-ABCD", "1234-ABCD", "", "", ""));
}

TEST(LabelRulesTest, CompareOnlyWhatIsMountedUnderItsName)
{
    const QString label = QStringLiteral("A");
    Device missing = external(QStringLiteral("sdh1"), Vfat, label);
    missing.missing = {QStringLiteral("IdLabel")};
    EXPECT_THAT(labelsOf({
                    internal(QStringLiteral("sda1"), Ntfs, {{QStringLiteral("IdLabel"), label}}),
                    external(QStringLiteral("sdb1"), QStringLiteral("swap"), label),
                    external(QStringLiteral("sdc1"), QString(), label),
                    external(QStringLiteral("sdd1"), Vfat, label,
                             {{QStringLiteral("IdUsage"), QStringLiteral("crypto")}}),
                    external(QStringLiteral("loop0"), Vfat, label),
                    missing,
                    external(QStringLiteral("sdf1"), Vfat, label),
                }),
                ElementsAre("A", "A", "A", "A", "A", "A", "A"));
}
