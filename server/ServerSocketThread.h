#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include <Poco/SharedPtr.h>
#include <QPair>
#include <QString>
#include <QThread>

#include "socket/ServerSocket.h"

/// Serves the command socket: one request and one reply per connection, one connection at a time, in the
/// order in which clients connect (docs/protocol.md).
///
/// No exception of the socket library is caught: a socket that cannot be bound, or a client that leaves
/// before its reply, ends the process. Only while the service stops are clients hung up on, and the errors
/// that this causes are dropped.
class ServerSocketThread : public QThread
{
    Q_OBJECT

public:
    /// `path` is where the socket is bound when the thread runs.
    ServerSocketThread(const QString& path, QObject* parent);
    /// Neither stops the thread nor waits for it: see `leave`.
    ~ServerSocketThread() override;

    /// Returns when no remount runs any more; none starts afterwards. Called on another thread than this one.
    void finishRemount();
    /// Ends the serving loop, hanging up on a client that holds it, and waits for the thread's end. Whether
    /// it ended within `LeaveTimeout` milliseconds: if not, this must not be destroyed, for a thread that
    /// runs would abort the process. Called on another thread than this one, after `finishRemount`.
    bool leave();

    static constexpr unsigned long LeaveTimeout = 2000;

protected:
    void run() override;

private:
    using Connection = Poco::SharedPtr<VORNA::ServerSocket>;

    bool isLeaving() const;
    void serve(Connection connection);
    void exchange(VORNA::ServerSocket& connection);
    bool waitForRequest(VORNA::ServerSocket& connection) const;
    std::string replyTo(const std::string& request);
    std::string remount(const QPair<QString, QString>& pathAndOptions);

    void holdConnection(const Connection& connection);
    void hangUp();

    static const int _s_nRequestQueue;
    static const int _s_nSelectIntervall;

    QString _path;
    std::atomic<bool> _leaving{false};
    std::mutex _remounting;
    std::mutex _connectionLock;
    Connection _connection;
};
