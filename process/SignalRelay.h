#pragma once

#include <QObject>

class QSocketNotifier;

/// Brings SIGINT, SIGTERM and SIGQUIT out of signal context into the event loop.
///
/// The handler does two things only: it makes the stop request (StopRequest.h) and writes the signal's number
/// into a pipe. The event loop of the thread that made this object then emits `caught`. A signal that arrives
/// before the loop runs waits in the pipe and is served when it starts. One object per process.
class SignalRelay : public QObject
{
    Q_OBJECT

public:
    /// Makes the pipe and installs the handler for signals 2, 15 and 3, in this order. Without a pipe (no
    /// descriptor left) the process ends at once: it could not be stopped in an orderly way.
    SignalRelay();
    ~SignalRelay() override;

Q_SIGNALS:
    void caught(int signalNumber);

private:
    void relay();

    QSocketNotifier* _notifier = nullptr;
};
