#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QTextCodec>

#include "service/LogOutput.h"
#include "service/Trace.h"
#include "tests/support/LogWatch.h"
#include "tests/support/TestLog.h"

namespace {

/// Made before any other static object of the program that might log, removed at the very end.
class TestDirectory
{
public:
    TestDirectory()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "vrmount-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a temporary directory");
        }
        _path = pattern;
    }
    ~TestDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;

    const std::string& path() const { return _path; }

private:
    std::string _path;
};

class LogCheck : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo& /*test*/) override { LogWatch::begin(); }

    void OnTestEnd(const testing::TestInfo& test) override
    {
        if (test.result()->Skipped()) {
            return;
        }
        for (const std::string& message : LogWatch::unexpected()) {
            ADD_FAILURE() << "in the log: " << message;
        }
    }
};

} // namespace

const std::string& testLogFile()
{
    static const TestDirectory directory;
    static const std::string file = directory.path() + "/test.log";
    return file;
}

Vorna::Logger* g_dbgR = Vorna::Logger::instance(testLogFile(), Vorna::Trace, 10485760);

int main(int argc, char** argv)
{
    installLogOutput();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    testing::InitGoogleMock(&argc, argv);
    QCoreApplication application(argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new LogCheck);
    return RUN_ALL_TESTS();
}
