#include <QCoreApplication>
#include <QTextCodec>

#include "interfaces/ServicePaths.h"
#include "log/LogOutput.h"
#include "log/LogText.h"
#include "log/Trace.h"
#include "process/BrokenPipe.h"
#include "process/SignalRelay.h"
#include "process/StandardStreams.h"
#include "service/CommandLine.h"
#include "service/Launcher.h"
#include "service/Service.h"

namespace {

constexpr unsigned MaxLogSize = 10485760; // 10 MiB

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
    if (Launcher::isNeeded()) {
        return Launcher::launch(arguments);
    }
    makeBrokenPipesErrors();
    const SignalRelay signalRelay;
    CommandLine::apply(arguments);
    VORNA_TRACE();
    introduce(application);
    return Service::serve(signalRelay);
}
