#include <fstream>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>

#include "provider/CommandLine.h"
#include "tests/provider/today/SampleDevices.h"

using namespace SampleDevices;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString Ntfs = QStringLiteral("ntfs");
const QString Vfat = QStringLiteral("vfat");
const QString Ext4 = QStringLiteral("ext4");

QVariantMap recovery()
{
    return {{QStringLiteral("PartitionScheme"), QStringLiteral("mbr")},
            {QStringLiteral("PartitionType"), QStringLiteral("0x27")}};
}

std::vector<std::string> words()
{
    std::vector<std::string> result;
    for (const Rule& rule : Rules::all()) {
        result.emplace_back(rule.word);
    }
    return result;
}

/// The rest of each line that begins with `before`.
std::vector<std::string> linesBehind(const std::string& before, const std::string& text)
{
    std::vector<std::string> result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(before, 0) == 0) {
            result.push_back(line.substr(before.size()));
        }
    }
    return result;
}

std::string manual()
{
    std::ifstream file(PROJECT_SOURCE "/docs/man/vrudisks.8");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

TEST(RulesTest, AreTheseInThisOrder)
{
    EXPECT_THAT(words(), ElementsAre("memory-devices", "rescue-medium", "scsi-major", "windows-hidden",
                                     "windows-first", "blank-labels", "drive-letter-labels", "equal-labels",
                                     "dead-mounts"));
}

TEST(RulesTest, HaveARowEachInTheManualAndInTheHelp)
{
    EXPECT_EQ(linesBehind(".It Sy ", manual()), words());
    const std::string help = CommandLine::help();
    for (const Rule& rule : Rules::all()) {
        const std::string row = std::string("  ") + rule.word + "\n      " + rule.reason + "\n";
        EXPECT_THAT(help, testing::HasSubstr(row));
    }
}

TEST(RulesTest, SayTheirReasonInOneSentence)
{
    for (const Rule& rule : Rules::all()) {
        EXPECT_TRUE(std::regex_match(rule.reason, std::regex("[A-Z][^.]+\\."))) << rule.reason;
    }
}

/// One device for each rule, which that rule and no other one concerns.
TEST(RulesTest, AreTurnedOffOneByOne)
{
    const std::vector<Device> machine{
        device(QStringLiteral("loop0")),
        device(QStringLiteral("sdz1"), {{QStringLiteral("IdType"), QStringLiteral("iso9660")}}),
        internal(QStringLiteral("nvme0n1p1"), Ext4),
        internal(QStringLiteral("sda1"), Ext4, recovery()),
        internal(QStringLiteral("sda2"), Ntfs),
        external(QStringLiteral("sdb1"), Ntfs, QStringLiteral("a b")),
        external(QStringLiteral("sdc1"), Vfat, QStringLiteral("C:")),
        external(QStringLiteral("sdd1"), Vfat, QStringLiteral("X")),
        external(QStringLiteral("sde1"), Vfat, QStringLiteral("X")),
    };
    const Circumstances circumstances{{{}, {QByteArray("sdz")}}, {}};
    const struct
    {
        const char* rule;
        const char* node;
    } table[] = {
        {"memory-devices", "loop0"},     {"rescue-medium", "sdz1"}, {"scsi-major", "nvme0n1p1"},
        {"windows-hidden", "sda1"},      {"windows-first", "sda2"}, {"blank-labels", "sdb1"},
        {"drive-letter-labels", "sdc1"}, {"equal-labels", "sde1"},
    };
    const auto reasonsFor = [&](const char* node, const Rules::Selection& rules) {
        for (const Presentation& one : present(machine, rules, circumstances)) {
            if (one.shown.objectPath.endsWith(QLatin1Char('/') + QString::fromLatin1(node))) {
                return reasons(one);
            }
        }
        return std::vector<std::string>{"not there"};
    };
    for (const auto& row : table) {
        EXPECT_THAT(reasonsFor(row.node, Rules::allBut({})), ElementsAre(row.rule));
        EXPECT_THAT(reasonsFor(row.node, Rules::allBut({QString::fromLatin1(row.rule)})), IsEmpty());
        EXPECT_THAT(reasonsFor(row.node, only(row.rule)), ElementsAre(row.rule));
    }
    EXPECT_THAT(reasonsFor("sdd1", Rules::allBut({})), IsEmpty());
}

TEST(RulesTest, LeaveEverythingAsItIsWhenAllAreOff)
{
    const std::vector<Device> machine{device(QStringLiteral("ram0")),
                                      internal(QStringLiteral("nvme0n1p1"), Ext4),
                                      internal(QStringLiteral("nvme0n1p2"), Ntfs, recovery()),
                                      external(QStringLiteral("sdb1"), Ntfs, QStringLiteral("C: "))};
    const Picture picture = present(machine, {});
    EXPECT_THAT(nodes(picture), ElementsAre("ram0", "nvme0n1p1", "nvme0n1p2", "sdb1"));
    for (std::size_t at = 0; at < machine.size(); ++at) {
        EXPECT_EQ(picture[at].shown.properties, machine[at].properties);
        EXPECT_THAT(reasons(picture[at]), IsEmpty());
    }
}
