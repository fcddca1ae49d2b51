// The one file that needs the message handler of the framework's older interface; the newer one would hand
// over text that the framework has already formatted by its own pattern.
#define QT_DISABLE_DEPRECATED_BEFORE 0x040800

#include "log/LogOutput.h"

#include <cstring>

#include <QCoreApplication>

#include "log/Trace.h"

namespace {

void write(Vorna::Loglevel level, const char* source, const char* message)
{
    g_dbgR->logString(level, source, "\t%s", message);
}

} // namespace

void logOutput(QtMsgType type, const char* message)
{
    if (std::strstr(message, "QWSLock") != nullptr) {
        return;
    }
    switch (type) {
    case QtDebugMsg:
        write(Vorna::Debug, "qDebug", message);
        break;
    case QtWarningMsg:
        write(Vorna::Warning, "qWarning", message);
        break;
    case QtCriticalMsg:
        write(Vorna::Critical, "qCritical", message);
        break;
    case QtFatalMsg:
        write(Vorna::Fatal, "qFatal", message);
        QCoreApplication::quit();
        break;
    default:
        break;
    }
}

void installLogOutput()
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    qInstallMsgHandler(&logOutput);
#pragma GCC diagnostic pop
}
