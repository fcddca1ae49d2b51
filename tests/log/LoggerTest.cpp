#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include <sys/stat.h>

#include <gmock/gmock.h>

#include "log/Logger.h"
#include "tests/support/TemporaryDirectory.h"

using testing::HasSubstr;
using Vorna::Logger;

namespace {

constexpr unsigned Large = 1000000;

std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

void fill(const std::string& path, std::size_t size)
{
    std::ofstream(path, std::ios::binary) << std::string(size, 'x');
}

class LoggerTest : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return directory.path() + "/" + name; }
    std::string log() const { return contentOf(file); }

    TemporaryDirectory directory;
    const std::string file = path("a.log");
    const std::string backup = file + ".bak";
};

TEST_F(LoggerTest, WritesTheLineByteForByte)
{
    const Logger logger(file, Vorna::Warning, Large);
    logger.logString(Vorna::Warning, "qWarning", "%s %d", "seven", 7);
    const std::regex form("<[0-3][0-9]\\.[01][0-9]\\.[0-9]{4} [0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{6}> "
                          "qWarning {17} \\(5\\) seven 7\r\n");
    EXPECT_TRUE(std::regex_match(log(), form)) << log();
}

TEST_F(LoggerTest, FollowsATimeZoneThatChangesWhileItRuns)
{
    const Logger logger(file, Vorna::Warning, Large);
    constexpr std::size_t HourAndMinute = 12; // behind "<dd.mm.yyyy "
    std::vector<std::string> times;
    for (const char* zone : {"AAA+0", "BBB-11:30"}) {
        setenv("TZ", zone, 1);
        std::remove(file.c_str());
        logger.logString(Vorna::Warning, "f", "now");
        times.push_back(log().substr(HourAndMinute, 5));
    }
    unsetenv("TZ");
    EXPECT_NE(times.front(), times.back());
}

TEST_F(LoggerTest, KeepsTheLineFeedOfAMessageAndAddsNoCarriageReturn)
{
    const Logger logger(file, Vorna::Warning, Large);
    logger.logString(Vorna::Warning, "f", "ends itself\n");
    EXPECT_THAT(log(), testing::EndsWith("(5) ends itself\n"));
}

TEST_F(LoggerTest, CopiesEveryLineToStandardError)
{
    const Logger logger(file, Vorna::Warning, Large);
    testing::internal::CaptureStderr();
    logger.logString(Vorna::Warning, "f", "twice");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), log());
}

TEST_F(LoggerTest, WritesToStandardErrorWhenTheFileCannotBeOpened)
{
    const Logger logger(directory.path(), Vorna::Warning, Large);
    testing::internal::CaptureStderr();
    logger.logString(Vorna::Warning, "f", "still here");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("still here\r\n"));
}

struct ThresholdRow
{
    int threshold;
    int level;
    bool isWritten;
};

TEST_F(LoggerTest, WritesMessagesAtOrBelowTheThreshold)
{
    Logger logger(file, Vorna::Warning, Large);
    for (const ThresholdRow& row : {ThresholdRow{5, 5, true},
                                    {5, 7, false},
                                    {5, 2, true},
                                    {7, 10, false},
                                    {10, 10, true},
                                    {0, 1, false},
                                    {-1, 0, false},
                                    {-1, -1, true},
                                    {999, 10, true}}) {
        logger.setLogLevel(static_cast<unsigned>(row.threshold));
        EXPECT_EQ(logger.loglevel(), row.threshold);
        std::remove(file.c_str());
        logger.logString(static_cast<Vorna::Loglevel>(row.level), "f", "m");
        EXPECT_EQ(!log().empty(), row.isWritten) << row.threshold << " " << row.level;
    }
}

TEST_F(LoggerTest, ShowsTheFileNameBehindTheLastSlash)
{
    const Logger logger(file, Vorna::Warning, Large);
    logger.logString(Vorna::Warning, "a/b/c.x", "m");
    logger.logString(Vorna::Warning, "plain", "m");
    logger.logString(Vorna::Warning, "a_name_that_is_longer_than_the_field", "m");
    EXPECT_THAT(log(), HasSubstr("> c.x                       (5) m"));
    EXPECT_THAT(log(), HasSubstr("> plain                     (5) m"));
    EXPECT_THAT(log(), HasSubstr("> a_name_that_is_longer_than_the_field (5) m"));
}

TEST_F(LoggerTest, TracesLineAndFunctionAtLevelTen)
{
    const Logger logger(file, Vorna::Trace, Large);
    logger.trace("/src/service/main.cpp", 117, "main");
    EXPECT_THAT(log(), HasSubstr("> main.cpp                  (10) [117]main\r\n"));
}

TEST_F(LoggerTest, RotatesAFileThatHoldsExactlyTheLimit)
{
    const Logger logger(file, Vorna::Warning, 100);
    fill(file, 100);
    logger.logString(Vorna::Warning, "f", "first of the new file");
    EXPECT_EQ(contentOf(backup), std::string(100, 'x'));
    EXPECT_THAT(log(), testing::StartsWith("<"));
}

TEST_F(LoggerTest, AppendsToAFileThatIsOneByteBelowTheLimit)
{
    const Logger logger(file, Vorna::Warning, 100);
    fill(file, 99);
    logger.logString(Vorna::Warning, "f", "exceeds it");
    EXPECT_THAT(log(), testing::StartsWith(std::string(99, 'x') + "<"));
    EXPECT_FALSE(std::filesystem::exists(backup));
}

TEST_F(LoggerTest, ReplacesAnEarlierBackup)
{
    Logger logger(file, Vorna::Warning, Large);
    logger.setMaxSize(10);
    EXPECT_EQ(logger.maxSize(), 10U);
    fill(backup, 3);
    fill(file, 10);
    logger.logString(Vorna::Warning, "f", "m");
    EXPECT_EQ(contentOf(backup), std::string(10, 'x'));
}

TEST_F(LoggerTest, CutsALineThatIsTooLongAndStillEndsIt)
{
    const Logger logger(file, Vorna::Warning, Large);
    logger.logString(Vorna::Warning, "f", "%s", std::string(20000, 'm').c_str());
    EXPECT_EQ(log().size(), 4095U);
    EXPECT_THAT(log(), testing::EndsWith("mmm\r\n"));
}

TEST_F(LoggerTest, NeverTakesAMessageForAFormat)
{
    const Logger logger(file, Vorna::Warning, Large);
    logger.logString(Vorna::Warning, "f", "%s", "%n%s%d");
    EXPECT_THAT(log(), HasSubstr("%n%s%d\r\n"));
}

TEST_F(LoggerTest, MakesTheDirectoriesOfItsFileForTheOwnerOnly)
{
    const Logger logger(path("x/y/z.log"), Vorna::Warning, Large);
    struct stat status = {};
    ASSERT_EQ(stat(path("x/y").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    EXPECT_FALSE(std::filesystem::exists(path("x/y/z.log")));
}

TEST_F(LoggerTest, MakesADirectoryWhoseNameIsOneLetter)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory.path());
    const Logger logger("x/a.log", Vorna::Warning, Large);
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_directory(path("x")));
}

TEST_F(LoggerTest, TakesASlashAtTheEndOfItsPathForNoDirectory)
{
    const Logger logger(path("x/y/"), Vorna::Warning, Large);
    EXPECT_TRUE(std::filesystem::is_directory(path("x")));
    EXPECT_FALSE(std::filesystem::exists(path("x/y")));
}

TEST_F(LoggerTest, KeepsLinesWholeWhenTwoThreadsWriteAndRotate)
{
    const Logger logger(file, Vorna::Warning, 4000);
    auto writeMany = [&] {
        for (int i = 0; i < 200; ++i) {
            logger.logString(Vorna::Warning, "f", "whole");
        }
    };
    testing::internal::CaptureStderr();
    std::thread other(writeMany);
    writeMany();
    other.join();
    const std::string copy = testing::internal::GetCapturedStderr();
    const std::regex line("<[^>]*> f {25}\\(5\\) whole\r\n");
    EXPECT_EQ(std::distance(std::sregex_iterator(copy.begin(), copy.end(), line), std::sregex_iterator()),
              400);
    EXPECT_TRUE(std::filesystem::exists(backup));
}

TEST(LoggerInstance, IsTheSameWhateverLaterCallsAskFor)
{
    const TemporaryDirectory directory;
    const Logger* first = Logger::instance("", Vorna::Warning, 1);
    EXPECT_EQ(Logger::instance(directory.path() + "/never/made.log", Vorna::Trace, 2), first);
    EXPECT_FALSE(std::filesystem::exists(directory.path() + "/never"));
}

} // namespace
