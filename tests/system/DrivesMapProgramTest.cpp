#include <filesystem>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "tests/support/Files.h"
#include "tests/support/Hives.h"
#include "tests/support/Images.h"
#include "tests/system/WindowsMachine.h"

namespace fs = std::filesystem;

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// The program that writes the drives map, on its own.
class DrivesMapProgramTest : public WindowsMachineTest
{
protected:
    /// A PC whose only Windows has this file for a registry.
    void addPcWith(const std::string& registry, const std::string& place, Images::Stored stored,
                   std::uintmax_t size = Images::UsualSize)
    {
        const std::string image = Images::ntfs("two", "two", {}, "5A3C1F2000000002", size);
        Images::put(image, place, registry, stored);
        machine.addInternal("sda", disk());
        machine.addInternal("sda2", image);
        machine.start();
    }
    static std::string registry(const std::vector<std::string>& more = {})
    {
        std::vector<std::string> lines = more;
        lines.push_back(drive("C", Place::Second));
        fs::create_directories("/tmp/images");
        return Hives::make("/tmp/images/registry", lines);
    }
    static std::string shown(const std::vector<std::string>& options = {})
    {
        const ProcessResult result = drivesMap(options);
        EXPECT_EQ(result.status, 0);
        return result.output;
    }

    static constexpr const char* Usual = "Windows/System32/config/SYSTEM";
    static constexpr const char* FoundC = "\nC:      /dev/sda2  two    registry of /dev/sda2\n";
};

TEST_F(DrivesMapProgramTest, ShowsATableAndWritesNothing)
{
    addPc();
    machine.start();
    EXPECT_EQ(shown(), "LETTER  PARTITION  LABEL    FROM\n"
                       "C:      /dev/sda2  two      registry of /dev/sda2\n"
                       "D:      -          -        kept free: no such partition here\n"
                       "E:      /dev/sda5  Logical  registry of /dev/sda2\n"
                       "G:      /dev/sda1  Data     registry of /dev/sda2\n"
                       "/dev/sda2: its registry was written at 1970-01-01 00:00 UTC\n");
    EXPECT_THAT(Files::namesIn("/mounts"), IsEmpty());
}

TEST_F(DrivesMapProgramTest, ShowsTheSameForScripts)
{
    addPc();
    machine.start();
    const QByteArray text = QByteArray::fromStdString(shown({"--json"}));
    QJsonObject object = QJsonDocument::fromJson(text).object();
    EXPECT_GT(object.take(QStringLiteral("bytesRead")).toInt(), 3 * 4096);
    EXPECT_EQ(object, QJsonDocument::fromJson(R"({
        "letters": [
            {"letter": "C:", "partition": "/dev/sda2", "label": "two", "from": "registry of /dev/sda2"},
            {"letter": "D:", "partition": null, "label": null, "from": "kept free: no such partition here"},
            {"letter": "E:", "partition": "/dev/sda5", "label": "Logical", "from": "registry of /dev/sda2"},
            {"letter": "G:", "partition": "/dev/sda1", "label": "Data", "from": "registry of /dev/sda2"}],
        "notes": ["/dev/sda2: its registry was written at 1970-01-01 00:00 UTC"],
        "map": "; Written by vrdrivesmap from the registry of the Windows on /dev/sda2.\n[Windows]\nPartition1=[FFFFFFFF]C:\nPartition2=[FFFFFFFF]D:\nPartition3=[FFFFFFFF]E:\nPartition4=[FFFFFFFF]F:\nPartition5=[FFFFFFFF]G:\nPartition6=[00000001]G:\nPartition7=[00000002]C:\nPartition8=[00000005]E:\n"
        })")
                          .object())
        << text.constData();
}

TEST_F(DrivesMapProgramTest, WritesOneFileThatEverybodyCanRead)
{
    addPc();
    machine.start();
    EXPECT_THAT(shown({"--write"}), EndsWith("\n" + Map + ": written\n"));
    struct stat about = {};
    ASSERT_EQ(lstat(Map.c_str(), &about), 0);
    EXPECT_EQ(about.st_mode, mode_t(S_IFREG | 0644));
    EXPECT_EQ(about.st_uid, 0U);
    EXPECT_THAT(Files::namesIn(fs::path(Map).parent_path()), testing::ElementsAre("drives.ini"));
    const std::string before = Files::content(Map);
    shown({"--write"});
    EXPECT_EQ(Files::content(Map), before);
}

TEST_F(DrivesMapProgramTest, RemovesTheMapOfAnotherMachine)
{
    addPc();
    machine.start();
    shown({"--write"});
    machine = Machine();
    machine.addInternal("sda1", Images::ntfs("empty", "Empty"));
    machine.start();
    EXPECT_EQ(shown({"--write"}),
              "no Windows was found\n" + Map + ": removed, it was written for another machine\n");
    EXPECT_THAT(Files::namesIn("/mounts"), IsEmpty());
    EXPECT_EQ(shown({"--write"}), "no Windows was found\n");
}

TEST_F(DrivesMapProgramTest, LeavesTheMapOfSomebodyElseAlone)
{
    addPc();
    machine.start();
    for (const std::string& path : {std::string("/mounts/x/PROGRAMS/Vorna/deep/er/drives.ini"), Map}) {
        shown({"--write"});
        fs::create_directories(fs::path(path).parent_path());
        fs::remove(path);
        Files::write(path, "mine");
        EXPECT_THAT(shown({"--write"}),
                    EndsWith("\n" + path + " is not from this program and counts; nothing is written\n"));
        EXPECT_EQ(Files::content(path), "mine");
        EXPECT_EQ(fs::exists(Map), path == Map) << "two maps, and the service might find the wrong one";
        fs::remove_all("/mounts/" + path.substr(8, path.find('/', 8) - 8));
    }
}

TEST_F(DrivesMapProgramTest, WritesToNoOtherFileSystem)
{
    addPc();
    machine.start();
    fs::create_directories("/mounts/windows");
    mountForeign("/mounts/windows");
    EXPECT_EQ(drivesMap().status, 1);
    EXPECT_THAT(Files::namesIn("/mounts/windows"), IsEmpty());
    ASSERT_EQ(umount("/mounts/windows"), 0);
    fs::remove("/mounts/windows");
    fs::create_directories("/tmp/elsewhere");
    fs::create_directory_symlink("/tmp/elsewhere", "/mounts/windows");
    const ProcessResult result = drivesMap();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vrdrivesmap: /mounts/windows is not a directory of this system: nothing is "
                             "written there\n");
    EXPECT_THAT(Files::namesIn("/tmp/elsewhere"), IsEmpty());
}

TEST_F(DrivesMapProgramTest, FailsWithoutUDisksAndRemovesItsOldMap)
{
    addPc();
    machine.start();
    shown({"--write"});
    machine.stopUDisks();
    const ProcessResult result = drivesMap();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, testing::StartsWith("vrdrivesmap: the UDisks service does not answer: "));
    EXPECT_FALSE(fs::exists(Map));
}

TEST_F(DrivesMapProgramTest, CopiesTheFirstMapInAnyProgramDirectory)
{
    addPc();
    int number = 0;
    for (const char* place : {"Windows/Vorna/drives.ini", "Archivos de programa/Vorna/Drives.ini",
                              "programas/vorna/a/b/drives.ini"}) {
        const std::string text = "[Disk]\nPartition1=[00000001]" + std::string(1, char('U' + number)) + ":\n";
        const std::string image = Images::ntfs("map" + std::to_string(number), "Map", {},
                                               "5A3C1F20000000A" + std::to_string(number));
        Files::write("/tmp/images/map", text);
        Images::put(image, place, "/tmp/images/map");
        machine.addInternal("sdb" + std::to_string(++number), image);
    }
    machine.start();
    EXPECT_EQ(shown({"--write"}), "LETTER  PARTITION  LABEL  FROM\n"
                                  "W:      /dev/sda1  Data   drives map of /dev/sdb3\n"
                                  "/dev/sdb3: its drives map is copied: programas/Vorna/a/b/drives.ini\n" +
                                      Map + ": written\n");
    EXPECT_EQ(Files::content(Map), "[Disk]\nPartition1=[00000001]W:\n");
    EXPECT_THAT(shown({"--from-registry"}), HasSubstr("\nC:      /dev/sda2"));
    EXPECT_THAT(shown({"--windows", "sda2"}), Not(HasSubstr("drives map")));
}

TEST_F(DrivesMapProgramTest, TakesTheRegistryThatWasWrittenLast)
{
    machine.addInternal("sda", disk());
    machine.addInternal(
        "sda1", windows("old", "5A3C1F2000000001",
                        {"--written", "1600000000", drive("C", Place::First), drive("D", Place::Second)}));
    machine.addInternal(
        "sda2", windows("new", "5A3C1F2000000002", {"--written", "1700000000", drive("C", Place::Second)}));
    machine.start();
    EXPECT_EQ(shown(),
              "LETTER  PARTITION  LABEL  FROM\n"
              "C:      /dev/sda2  new    registry of /dev/sda2\n"
              "/dev/sda2: its registry was written at 2023-11-14 22:13 UTC\n"
              "/dev/sda1: another Windows, its registry was written at 2020-09-13 12:26 UTC; not used\n");
    EXPECT_THAT(shown({"--windows", "/dev/sda1"}),
                HasSubstr("C:      /dev/sda1  old    registry of /dev/sda1\n"
                          "D:      /dev/sda2  new    registry of /dev/sda1\n"));
    EXPECT_EQ(shown({"--windows", "sda9"}), "no Windows was found\n");
}

TEST_F(DrivesMapProgramTest, LeavesOutClonedPartitions)
{
    addPc();
    const std::string clone = "/tmp/images/clone";
    fs::copy_file("/tmp/images/two", clone);
    machine.addInternal("sdb1", clone);
    machine.start();
    EXPECT_THAT(shown(),
                HasSubstr("\nC:      -          -        kept free: /dev/sda2 and /dev/sdb1 have the "
                          "same volume id\n"));
}

TEST_F(DrivesMapProgramTest, NamesBitLocker)
{
    addPc();
    machine.addInternal("sdb1", Images::blank("locked"), {"IdType = BitLocker", "IdUsage = crypto"});
    machine.start();
    EXPECT_THAT(shown(), HasSubstr("\n/dev/sdb1: encrypted with BitLocker, cannot be read\n"));
}

TEST_F(DrivesMapProgramTest, IgnoresWhatIsNotOnAnInternalPartition)
{
    machine.addInternal("sda", disk());
    const std::string image = windows("two", "5A3C1F2000000002", {drive("C", Place::Second)});
    machine.addExternal("sda2", image);
    machine.start();
    EXPECT_EQ(shown(), "no Windows was found\n");
}

TEST_F(DrivesMapProgramTest, FindsTheRegistryInOtherCase)
{
    addPcWith(registry(), "WINDOWS/system32/Config/system", Images::Stored::Plain);
    EXPECT_THAT(shown(), HasSubstr(FoundC));
}

TEST_F(DrivesMapProgramTest, ReadsACompressedRegistry)
{
    addPcWith(registry(), Usual, Images::Stored::Compressed);
    EXPECT_THAT(shown(), HasSubstr(FoundC));
}

TEST_F(DrivesMapProgramTest, ReadsASparseRegistry)
{
    const std::string file = registry();
    fs::resize_file(file, 1 << 20);
    addPcWith(file, Usual, Images::Stored::Sparse);
    EXPECT_THAT(shown(), HasSubstr(FoundC));
}

TEST_F(DrivesMapProgramTest, FollowsNoLinkToARegistry)
{
    addPcWith(registry(), Usual, Images::Stored::Link);
    EXPECT_THAT(shown(), Not(HasSubstr(FoundC)));
}

TEST_F(DrivesMapProgramTest, ReadsARegistryOfAHundredMegabytes)
{
    addPcWith(registry({"--size", "100"}), Usual, Images::Stored::Plain, 160 << 20);
    EXPECT_THAT(shown(), HasSubstr(FoundC));
}

TEST_F(DrivesMapProgramTest, NamesARegistryThatIsTooLarge)
{
    const std::string file = registry();
    fs::resize_file(file, (128 << 20) + 1);
    addPcWith(file, Usual, Images::Stored::Sparse);
    EXPECT_EQ(shown(), "/dev/sda2: its registry is larger than 128 MiB\nno Windows was found\n");
}

TEST_F(DrivesMapProgramTest, NamesADamagedRegistry)
{
    Files::write("/tmp/registry", "regf" + std::string(20000, 'x'));
    addPcWith("/tmp/registry", Usual, Images::Stored::Plain);
    EXPECT_EQ(shown(), "/dev/sda2: its registry is damaged\nno Windows was found\n");
}

TEST_F(DrivesMapProgramTest, ReadsARegistryThatWasNotClosedAndSaysSo)
{
    addPcWith(registry({"--open"}), Usual, Images::Stored::Plain);
    EXPECT_THAT(shown(),
                AllOf(HasSubstr(FoundC),
                      HasSubstr("/dev/sda2: its registry was not closed, and is read as it stands\n")));
}

TEST_F(DrivesMapProgramTest, NamesAFileSystemAndADiskThatCannotBeRead)
{
    addPc();
    machine.addInternal("sdb1", Images::blank("broken"), {"IdType = ntfs", "IdUsage = filesystem"});
    machine.addInternal("sdc1", "", {"IdType = ntfs"});
    machine.start();
    EXPECT_THAT(shown(), AllOf(HasSubstr("/dev/sdb1: its file system cannot be read\n"),
                               HasSubstr("/dev/sdc1 cannot be read: cannot open /dev/sdc1: No such file"),
                               HasSubstr("\nC:      /dev/sda2")));
}

TEST_F(DrivesMapProgramTest, RefusesWrongUse)
{
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"--no"}, {"x"}, {"--windows="}, {"--windows"}}) {
        const ProcessResult result = drivesMap(options);
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.output,
                    AllOf(testing::StartsWith("vrdrivesmap: "), EndsWith(" (see vrdrivesmap --help)\n")));
    }
    EXPECT_THAT(shown({"--help"}), testing::StartsWith("Usage: vrdrivesmap"));
    EXPECT_THAT(shown({"--version"}), testing::MatchesRegex("vrdrivesmap [0-9.]+\n"));
}

TEST_F(DrivesMapProgramTest, HasItsOptionsAndNodesCompleted)
{
    const auto offered = [](std::vector<std::string> words) {
        words.insert(words.begin(), COMPLETE_VRDRIVESMAP);
        return runProgram(words).output;
    };
    if (runProgram({COMPLETE_VRDRIVESMAP, ""}).status == 77) {
        GTEST_SKIP() << "bash-completion is not installed";
    }
    EXPECT_EQ(offered({"--w"}), "--write --windows\n");
    EXPECT_EQ(offered({"--"}), "--write --from-registry --windows --json --help --version\n");
    EXPECT_EQ(offered({"--windows", "/dev/nul"}), "/dev/null\n");
    EXPECT_EQ(offered({"--windows", "=", "/dev/nul"}), "/dev/null\n");
    EXPECT_EQ(offered({""}), "\n");
}
