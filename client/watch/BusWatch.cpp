#include "client/watch/BusWatch.h"

#include <algorithm>
#include <array>
#include <csignal>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <Poco/Exception.h>

#include <QCoreApplication>

#include "client/watch/ProviderListener.h"
#include "process/StandardStreams.h"

namespace {

[[noreturn]] void listen(Poco::Pipe& pipe) noexcept
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    detachStandardStreams();
    try {
        int count = 0;
        const QCoreApplication application(count, nullptr);
        const ProviderListener listener([&](char what) { pipe.writeBytes(&what, 1); });
        if (listener.isConnected()) {
            QCoreApplication::exec();
        }
    } catch (const std::exception&) {
    }
    // Its number must stay its own until it is killed.
    pipe.close(Poco::Pipe::CLOSE_WRITE);
    while (true) {
        pause();
    }
}

} // namespace

BusWatch::BusWatch()
    : _process(fork())
{
    if (_process < 0) {
        throw Poco::SystemException("no process can be started");
    }
    if (_process == 0) {
        listen(_pipe);
    }
    _pipe.close(Poco::Pipe::CLOSE_WRITE);
}

BusWatch::~BusWatch()
{
    kill(_process, SIGKILL);
    waitpid(_process, nullptr, 0);
}

std::string BusWatch::take()
{
    std::array<char, 256> heard{};
    const int count = _pipe.readBytes(heard.data(), static_cast<int>(heard.size()));
    return {heard.data(), static_cast<std::size_t>(std::max(count, 0))};
}
