#include "drives/DeviceEnumeration.h"

#include <algorithm>

#include <QThread>

#include "QDBusUDisksProxy.h"
#include "process/StopRequest.h"

namespace {

constexpr unsigned long ShortestPause = 200;  // microseconds
constexpr unsigned long LongestPause = 10000; // microseconds

} // namespace

QList<QDBusObjectPath> enumerateDevices(QDBusUDisksProxy& udisks)
{
    QDBusPendingReply<QList<QDBusObjectPath>> reply = udisks.EnumerateDevices();
    for (unsigned long pause = ShortestPause; !reply.isFinished();
         pause = std::min(2 * pause, LongestPause)) {
        if (StopRequest::isMade()) {
            return {};
        }
        QThread::usleep(pause);
    }
    return reply.value();
}
