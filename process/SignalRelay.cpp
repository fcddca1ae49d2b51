#include "process/SignalRelay.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include <QSocketNotifier>

#include "process/StopRequest.h"

namespace {

std::array<int, 2> relayPipe{-1, -1};

void handleSignal(int signalNumber)
{
    const int savedErrno = errno;
    StopRequest::make();
    const auto number = static_cast<unsigned char>(signalNumber);
    // A full pipe already holds more signals than will be served.
    [[maybe_unused]] const ssize_t written = write(relayPipe[1], &number, 1);
    errno = savedErrno;
}

} // namespace

SignalRelay::SignalRelay()
{
    if (pipe2(relayPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("Cannot make the signal pipe: %s", std::strerror(errno));
    }
    _notifier = new QSocketNotifier(relayPipe[0], QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, &SignalRelay::relay);
    for (const int signalNumber : {SIGINT, SIGTERM, SIGQUIT}) {
        signal(signalNumber, &handleSignal);
    }
}

// The handler stays installed and the pipe open: a signal that arrives while the process leaves must not kill
// it.
SignalRelay::~SignalRelay() = default;

void SignalRelay::relay()
{
    unsigned char signalNumber = 0;
    if (read(relayPipe[0], &signalNumber, 1) == 1) {
        Q_EMIT caught(signalNumber);
    }
}
