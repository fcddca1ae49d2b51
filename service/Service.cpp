#include "service/Service.h"

#include <cstdlib>

#include <QCoreApplication>
#include <QFile>

#include "drives/DriveManager.h"
#include "interfaces/ServicePaths.h"
#include "log/LogText.h"
#include "process/SignalRelay.h"
#include "server/ServerSocketThread.h"
#include "service/Launcher.h"

namespace Service {
namespace {

QString commandSocket()
{
    return QString::fromLatin1(ServicePaths::CommandSocket);
}

void stop(int signalNumber, ServerSocketThread& server)
{
    LogText::debug(QStringLiteral("Signal caught: %1").arg(signalNumber));
    server.finishRemount();
    DriveManager::instance()->shutdown();
    Launcher::removePidFile();
    QCoreApplication::exit(0);
}

/// Ends the process although the serving thread still runs, held by a log that takes no line or by a huge
/// request: everything is taken down, and destroying a thread that runs would abort.
[[noreturn]] void leaveBehind(int result)
{
    QFile::remove(commandSocket());
    std::_Exit(result);
}

} // namespace

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

} // namespace Service
