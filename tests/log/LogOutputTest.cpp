#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDebug>
#include <QTimer>

#include "log/LogOutput.h"
#include "tests/support/LogWatch.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Route
{
    QtMsgType type;
    int level;
    const char* source;
};

TEST(LogOutput, RoutesEachTypeToItsLevelAndColumn)
{
    for (const Route& route : {Route{QtDebugMsg, 7, "qDebug"},
                               {QtWarningMsg, 5, "qWarning"},
                               {QtCriticalMsg, 2, "qCritical"},
                               {QtFatalMsg, 1, "qFatal"}}) {
        LogWatch::begin();
        logOutput(route.type, "text");
        ASSERT_EQ(LogWatch::lines().size(), 1U);
        EXPECT_EQ(LogWatch::lines().front().level, route.level);
        EXPECT_EQ(LogWatch::lines().front().source, route.source);
        EXPECT_THAT(LogWatch::raw(), testing::HasSubstr(") \ttext\r\n"));
    }
    LogWatch::begin();
}

TEST(LogOutput, IgnoresAnyOtherType)
{
    logOutput(QtInfoMsg, "text");
    EXPECT_THAT(LogWatch::lines(), IsEmpty());
}

TEST(LogOutput, DropsMessagesAboutTheDisplayLockEvenOnStandardError)
{
    testing::internal::CaptureStderr();
    logOutput(QtWarningMsg, "abc QWSLock def");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(LogWatch::lines(), IsEmpty());
}

TEST(LogOutput, WritesMessagesAboutOtherLocks)
{
    logOutput(QtDebugMsg, "abc qwslock QWSlock def");
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("abc qwslock QWSlock def"));
}

TEST(LogOutput, NeverTakesAMessageForAFormat)
{
    logOutput(QtDebugMsg, "%s%n%d 100%");
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("%s%n%d 100%"));
}

TEST(LogOutput, ReceivesTheMessagesOfTheFramework)
{
    LogWatch::expect("from the framework");
    qWarning("from the framework");
    EXPECT_THAT(LogWatch::messages(5), ElementsAre("from the framework"));
}

TEST(LogOutput, AsksTheApplicationToQuitAfterAFatalMessage)
{
    QTimer bound;
    bound.setSingleShot(true);
    QObject::connect(&bound, &QTimer::timeout, [] { QCoreApplication::exit(1); });
    bound.start(5000);
    QTimer::singleShot(0, [] { logOutput(QtFatalMsg, "the end"); });
    LogWatch::expect("the end", Vorna::Fatal);
    EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST(LogOutput, IsWhatAFatalMessageIsWrittenWithBeforeTheProcessAborts)
{
    LogWatch::expect("no way on", Vorna::Fatal); // written by the process that aborts
    EXPECT_DEATH(qFatal("no way on"), "\\(1\\) \tno way on");
}

} // namespace
