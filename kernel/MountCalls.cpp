#include "kernel/MountCalls.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>

#include "kernel/Descriptor.h"

namespace MountCalls {
namespace {

static_assert(RemountFlag == MS_REMOUNT && ReadOnlyFlag == MS_RDONLY);

constexpr std::size_t StackSize = 262144; // 256 KiB

/// A command line, and its outcome.
struct Job
{
    const char* line = nullptr;
    Outcome outcome;
};

int carryOut(void* argument)
{
    auto* job = static_cast<Job*>(argument);
    // The drivers and repair tools have always been run through the shell; ShellCommand makes that safe.
    job->outcome.value = std::system(job->line); // NOLINT(cert-env33-c)
    job->outcome.error = errno;
    return 0;
}

/// Calls `function` in a process of its own, which shares the memory, while the calling thread waits:
/// posix_spawn(3) makes its processes in this way too. 0, or the error.
int callApart(int (*function)(void*), void* argument)
{
    std::vector<char> stack(StackSize);
    const int how = CLONE_VM | CLONE_VFORK | SIGCHLD;
    const pid_t process = clone(function, stack.data() + stack.size(), how, argument);
    const int error = errno;
    if (process < 0) {
        return error;
    }
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
    return 0;
}

} // namespace

QString Outcome::errorText() const
{
    return QString::fromLocal8Bit(std::strerror(error));
}

Outcome mountDevice(const QString& device, const QString& directory, const QString& type, const QString& data)
{
    const QByteArray source = QFile::encodeName(device);
    const QByteArray target = QFile::encodeName(directory);
    const QByteArray fileSystem = QFile::encodeName(type);
    const QByteArray options = QFile::encodeName(data);
    const int result =
        mount(source.constData(), target.constData(), fileSystem.constData(), 0, options.constData());
    return {result, errno};
}

Outcome moveMount(const QString& from, const QString& to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    const int result = mount(source.constData(), target.constData(), nullptr, MS_MOVE, nullptr);
    return {result, errno};
}

Outcome remount(const QString& device, const QString& directory, unsigned long flags, const QString& data)
{
    const QByteArray source = QFile::encodeName(device);
    const QByteArray target = QFile::encodeName(directory);
    const QByteArray options = QFile::encodeName(data);
    const int result = mount(source.constData(), target.constData(), nullptr, flags, options.constData());
    return {result, errno};
}

Outcome unmount(const QString& directory)
{
    const QByteArray target = QFile::encodeName(directory);
    const int result = umount(target.constData());
    return {result, errno};
}

Outcome forceUnmount(const QString& directory)
{
    const QByteArray target = QFile::encodeName(directory);
    const int result = umount2(target.constData(), MNT_FORCE);
    return {result, errno};
}

Outcome detach(const QString& directory)
{
    const QByteArray target = QFile::encodeName(directory);
    const int result = umount2(target.constData(), MNT_DETACH);
    return {result, errno};
}

Outcome markUnused(const QString& directory)
{
    const QByteArray target = QFile::encodeName(directory);
    const int result = umount2(target.constData(), MNT_EXPIRE);
    return {result, errno};
}

Outcome writeOut(const QString& directory)
{
    const Descriptor opened(
        open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int result = opened.isOpen() ? syncfs(opened.get()) : -1;
    return {result, errno};
}

// system(3) ignores SIGINT and SIGQUIT in the whole process that calls it, so that they would be lost to the
// service. In a process of its own it ignores them for nobody else, and the programs that it starts get them
// as usual.
Outcome run(const ShellCommand& command)
{
    const QByteArray line = command.line();
    Job job;
    job.line = line.constData();
    const int error = callApart(&carryOut, &job);
    return error == 0 ? job.outcome : Outcome{-1, error};
}

} // namespace MountCalls
