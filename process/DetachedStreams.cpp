#include "process/DetachedStreams.h"

#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

void detachStandardStreams()
{
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(null, descriptor);
    }
    close(null);
}
