#include "process/StandardStreams.h"

#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

void completeStandardStreams()
{
    int descriptor = 0;
    do {
        // Not close-on-exec: the programs that are run get them like any others.
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

void detachStandardStreams()
{
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(null, descriptor);
    }
    close(null);
}
