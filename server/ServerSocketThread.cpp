#include "server/ServerSocketThread.h"

#include <cerrno>

#include <sys/socket.h>

#include <QCoreApplication>
#include <QFile>

#include "drives/DriveManager.h"
#include "log/Trace.h"
#include "server/MountCommand.h"
#include "socket/SocketException.h"

const int ServerSocketThread::_s_nRequestQueue = 5;
const int ServerSocketThread::_s_nSelectIntervall = 100; // milliseconds

ServerSocketThread::ServerSocketThread(const QString& path, QObject* parent)
    : QThread(parent)
    , _path(path)
{
    VORNA_TRACE();
}

ServerSocketThread::~ServerSocketThread()
{
    VORNA_TRACE();
}

void ServerSocketThread::finishRemount()
{
    VORNA_TRACE();
    _leaving = true;
    const std::lock_guard<std::mutex> noRemountRuns(_remounting);
}

bool ServerSocketThread::leave()
{
    VORNA_TRACE();
    _leaving = true;
    const unsigned long patience = 2 * static_cast<unsigned long>(_s_nSelectIntervall);
    if (wait(patience)) {
        return true;
    }
    hangUp();
    return wait(LeaveTimeout - patience);
}

void ServerSocketThread::run()
{
    VORNA_TRACE();
    Connection server(new VORNA::ServerSocket(AF_UNIX, SOCK_STREAM));
    server->bind(QFile::encodeName(_path).toStdString());
    server->listen(_s_nRequestQueue);
    while (!isLeaving()) {
        if (server->select(_s_nSelectIntervall) > 0) {
            serve(server->accept());
        }
    }
}

bool ServerSocketThread::isLeaving() const
{
    return _leaving || QCoreApplication::closingDown();
}

/// The connection is hung up on by another thread only while it is held, and closed when it goes out of
/// scope.
void ServerSocketThread::serve(Connection connection)
{
    holdConnection(connection);
    try {
        exchange(*connection);
    } catch (const VORNA::SocketException&) {
        // Kept: a client that breaks off ends the process. Not while stopping: then it was this service that
        // hung up.
        if (!isLeaving()) {
            throw;
        }
    }
    holdConnection(Connection());
}

void ServerSocketThread::exchange(VORNA::ServerSocket& connection)
{
    if (!waitForRequest(connection)) {
        return;
    }
    std::string request;
    connection.read(request);
    if (!isLeaving()) {
        connection.send(replyTo(request), 0);
    }
}

/// Kept: a silent client holds the server for as long as it likes, but not the service's stop. A descriptor
/// that cannot be waited for counts as ready: reading from it reports what is wrong.
bool ServerSocketThread::waitForRequest(VORNA::ServerSocket& connection) const
{
    while (!isLeaving()) {
        const int ready = connection.select(_s_nSelectIntervall);
        const bool interrupted = ready < 0 && errno == EINTR;
        if (ready != 0 && !interrupted) {
            return true;
        }
    }
    return false;
}

std::string ServerSocketThread::replyTo(const std::string& request)
{
    const MountCommand command(QString::fromLocal8Bit(request.data(), static_cast<int>(request.size())));
    switch (command.command()) {
    case MountCommand::Invalid:
        return "Command invalid: " + request;
    case MountCommand::Remount:
        return remount(command.argumentPair());
    default:
        return "Command not implemented!";
    }
}

std::string ServerSocketThread::remount(const QPair<QString, QString>& pathAndOptions)
{
    const std::lock_guard<std::mutex> guard(_remounting);
    if (isLeaving()) {
        return {};
    }
    const QString status = DriveManager::instance()->remountPath(pathAndOptions.first, pathAndOptions.second);
    return QFile::encodeName(status).toStdString();
}

void ServerSocketThread::holdConnection(const Connection& connection)
{
    const std::lock_guard<std::mutex> guard(_connectionLock);
    _connection = connection;
}

void ServerSocketThread::hangUp()
{
    const std::lock_guard<std::mutex> guard(_connectionLock);
    if (!_connection.isNull()) {
        _connection->shutdown(SHUT_RDWR);
    }
}
