#include <string>

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QTextCodec>

#include "log/LogOutput.h"
#include "log/Trace.h"
#include "tests/support/LogWatch.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TestLog.h"

namespace {

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
    // Made before any other static object that might log, removed at the very end.
    static const TemporaryDirectory directory;
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
