#include <cstdlib>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTextCodec>

#include "drives/DriveManager.h"
#include "interfaces/ServicePaths.h"
#include "log/LogOutput.h"
#include "log/LogText.h"
#include "log/Trace.h"
#include "process/BrokenPipe.h"
#include "process/SignalRelay.h"
#include "process/StandardStreams.h"
#include "server/ServerSocketThread.h"

namespace {

constexpr unsigned MaxLogSize = 10485760; // 10 MiB
constexpr int CannotLaunch = -1;          // the shell sees 255

QString pidFile()
{
    return QString::fromLatin1(ServicePaths::PidFile);
}

QString commandSocket()
{
    return QString::fromLatin1(ServicePaths::CommandSocket);
}

/// Starts the service as a detached copy of this program and leaves its process id behind. Kept: the copy
/// runs as the service because the pid file exists by then, and when it cannot be started the empty pid file
/// stays.
int launch(const QStringList& arguments)
{
    QFile file(pidFile());
    const bool canRecord = file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    qint64 pid = -1;
    if (!QProcess::startDetached(arguments.first(), arguments.mid(1), QStringLiteral("/"), &pid)) {
        return CannotLaunch;
    }
    if (canRecord) {
        file.write(QByteArray::number(pid));
    }
    return 0;
}

/// "log=" may stand anywhere in an argument. Kept: what is left when it is taken out is the level, 0 if that
/// is no number, so "xlog=7" silences the log.
void applyLogLevel(QString argument)
{
    const QLatin1String word("log=");
    if (argument.contains(word)) {
        argument.remove(word);
        g_dbgR->setLogLevel(static_cast<unsigned>(argument.toInt()));
    }
}

void readArguments(const QStringList& arguments)
{
    for (const QString& argument : arguments) {
        LogText::warning(QStringLiteral("Application argument: %1").arg(argument));
        applyLogLevel(argument);
    }
    LogText::warning(QStringLiteral("Set default log level: %1").arg(static_cast<int>(g_dbgR->loglevel())));
}

void introduce(QCoreApplication& application)
{
    application.setOrganizationName(QStringLiteral("VORNA"));
    application.setOrganizationDomain(QStringLiteral("vorna.invalid"));
    application.setApplicationName(QStringLiteral("DriveManager"));
    application.setApplicationVersion(QStringLiteral("1.1.3"));
    LogText::debug(QStringLiteral("Running: %1 (v%2) - Build date: [%3 / %4] - Qt version: [%5]")
                       .arg(application.applicationName(), application.applicationVersion(),
                            QStringLiteral(__DATE__), QStringLiteral(__TIME__),
                            QStringLiteral(QT_VERSION_STR)));
}

void stop(int signalNumber, ServerSocketThread& server)
{
    LogText::debug(QStringLiteral("Signal caught: %1").arg(signalNumber));
    server.finishRemount();
    DriveManager::instance()->shutdown();
    QFile::remove(pidFile());
    QCoreApplication::exit(0);
}

/// Ends the process although the serving thread still runs, held by a log that takes no line or by a huge
/// request: everything is taken down, and destroying a thread that runs would abort.
[[noreturn]] void leaveBehind(int result)
{
    QFile::remove(commandSocket());
    std::_Exit(result);
}

int serve(const SignalRelay& signalRelay)
{
    DriveManager::instance()->startUp();
    ServerSocketThread server(commandSocket(), nullptr);
    QObject::connect(&signalRelay, &SignalRelay::caught,
                     [&](int signalNumber) { stop(signalNumber, server); });
    server.start(QThread::InheritPriority);
    const int result = QCoreApplication::exec();
    if (!server.leave()) {
        leaveBehind(result);
    }
    return result;
}

} // namespace

/// Before any other static object: the connection to the bus is one.
__attribute__((constructor(101))) static void beforeAnythingIsOpened()
{
    completeStandardStreams();
}

Vorna::Logger* g_dbgR = Vorna::Logger::instance(ServicePaths::Log, Vorna::Warning, MaxLogSize);

int main(int argc, char** argv)
{
    installLogOutput();
    // The service is started without a locale, but file names are UTF-8 all the same.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (!QFile::exists(pidFile())) {
        return launch(arguments);
    }
    makeBrokenPipesErrors();
    const SignalRelay signalRelay;
    readArguments(arguments);
    VORNA_TRACE();
    introduce(application);
    return serve(signalRelay);
}
