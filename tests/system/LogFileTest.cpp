#include <csignal>
#include <filesystem>

#include <sys/mount.h>
#include <sys/stat.h>

#include "tests/support/Files.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

constexpr std::uintmax_t RotationSize = 10485760;

std::vector<std::string> linesOf(const std::string& content)
{
    std::vector<std::string> result;
    for (std::size_t start = 0; start < content.size();) {
        const std::size_t end = std::min(content.find('\n', start), content.size() - 1);
        result.push_back(content.substr(start, end + 1 - start));
        start = end + 1;
    }
    return result;
}

} // namespace

class LogFileTest : public SystemTest
{
protected:
    static void runService(const std::vector<std::string>& arguments = {"log=10"})
    {
        Service service(arguments);
        ASSERT_TRUE(service.isReady());
        ASSERT_EQ(service.stop(SIGTERM), 0);
    }

    static void makeLog(std::uintmax_t size)
    {
        fs::create_directories(fs::path(Paths::Log).parent_path());
        Files::write(Paths::Log, "old\n");
        fs::resize_file(Paths::Log, size);
    }
};

TEST_F(LogFileTest, EachLineHasTimeSourceLevelAndMessageAndEndsInCarriageReturnAndLineFeed)
{
    runService();
    EXPECT_THAT(linesOf(ServiceLog::raw()),
                Each(MatchesRegex("<[0-9]{2}\\.[0-9]{2}\\.[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{6}> "
                                  "[A-Za-z.]+ * \\([0-9]+\\) \t?.*\r\n")));
    EXPECT_THAT(ServiceLog::raw(),
                HasSubstr("> qWarning                  (5) \t\"Set default log level: 10\" \r\n"));
    EXPECT_THAT(ServiceLog::raw(), HasSubstr("> DriveManager.cpp          (10) ["));
}

TEST_F(LogFileTest, StandardErrorCarriesTheSameBytes)
{
    Service service;
    ASSERT_TRUE(service.isReady());
    ASSERT_EQ(service.stop(SIGTERM), 0);
    EXPECT_EQ(service.output(), ServiceLog::raw());
}

TEST_F(LogFileTest, DirectoryIsForRootOnly)
{
    fs::remove_all("/var/log");
    runService();
    struct stat status = {};
    ASSERT_EQ(stat("/var/log/vorna", &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST_F(LogFileTest, FileAtTheLimitBecomesTheOnlyBackup)
{
    makeLog(RotationSize);
    Files::write(Paths::Log + ".bak", "older");
    runService();
    EXPECT_EQ(fs::file_size(Paths::Log + ".bak"), RotationSize);
    EXPECT_THAT(linesOf(ServiceLog::raw()).front(),
                HasSubstr("\"Application argument: " + Service::program()));
    EXPECT_THAT(Files::namesIn("/var/log/vorna"), ElementsAre("vrmountdrives.log", "vrmountdrives.log.bak"));
}

TEST_F(LogFileTest, FileOneByteBelowTheLimitTakesOneMoreLine)
{
    makeLog(RotationSize - 1);
    runService();
    const std::string backup = Files::content(Paths::Log + ".bak");
    ASSERT_GT(backup.size(), RotationSize);
    EXPECT_THAT(linesOf(backup.substr(RotationSize - 1)),
                ElementsAre(HasSubstr("\"Application argument: " + Service::program())));
    EXPECT_THAT(linesOf(ServiceLog::raw()).front(), HasSubstr("\"Application argument: log=10\""));
}

TEST_F(LogFileTest, ReadOnlyFileSystemLeavesStandardErrorOnly)
{
    ASSERT_EQ(mount("none", "/var/log", "tmpfs", MS_RDONLY, ""), 0);
    Service service;
    ASSERT_TRUE(service.isReady());
    EXPECT_EQ(service.stop(SIGTERM), 0);
    EXPECT_THAT(service.output(),
                AllOf(HasSubstr("\"Set default log level: 10\""), HasSubstr("\"Signal caught: 15\"")));
    EXPECT_TRUE(fs::is_empty("/var/log"));
}

TEST_F(LogFileTest, FullFileSystemLeavesStandardErrorOnly)
{
    ASSERT_EQ(mount("none", "/var/log", "tmpfs", 0, "size=4k"), 0);
    Files::write("/var/log/filler", std::string(4096, 'x'));
    Service service;
    ASSERT_TRUE(service.isReady());
    EXPECT_EQ(service.stop(SIGTERM), 0);
    EXPECT_THAT(service.output(), HasSubstr("\"Signal caught: 15\""));
    EXPECT_EQ(ServiceLog::raw(), "");
}
