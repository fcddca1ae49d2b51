#include "process/BrokenPipe.h"

#include <csignal>

namespace {

void doNothing(int /*signalNumber*/) {}

} // namespace

void makeBrokenPipesErrors()
{
    signal(SIGPIPE, &doNothing);
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_UNBLOCK, &brokenPipe, nullptr);
}
