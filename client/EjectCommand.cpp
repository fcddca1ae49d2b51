#include "client/EjectCommand.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "client/eject/DriverEnds.h"
#include "client/eject/Ejection.h"
#include "client/eject/MountUsers.h"
#include "client/survey/Inquiry.h"
#include "interfaces/ServicePaths.h"
#include "kernel/Descriptor.h"
#include "kernel/FileTree.h"
#include "kernel/MountCalls.h"

namespace EjectCommand {
namespace {

using namespace std::chrono_literals;

constexpr auto AnswerBound = 2s;
/// A slow stick takes its time.
constexpr auto DriverBound = 600s;

Result failure(const std::string& complaint)
{
    return {NotDone, {}, complaint};
}

std::string withoutSlashAtEnd(const std::string& path)
{
    const std::size_t last = path.find_last_not_of('/');
    return last == std::string::npos ? path : path.substr(0, last + 1);
}

Surroundings look(const std::string& socket)
{
    Inquiry provider(&Provider::ask);
    Surroundings machine = Surroundings::look(socket);
    if (const auto answer = provider.answer(Inquiry::Clock::now() + AnswerBound)) {
        machine.takeAnswer(*answer);
    }
    return machine;
}

QString textOf(const QByteArray& directory)
{
    return QString::fromUtf8(directory);
}

/// The mark that this leaves is taken away by a look at the mount.
bool isInUse(const Mount& mount)
{
    const MountCalls::Outcome outcome = MountCalls::markUnused(textOf(mount.target));
    FileTree::look(mount.target);
    return !outcome.succeeded() && outcome.error == EBUSY;
}

std::string usersOf(const std::vector<Mount>& mounts)
{
    Inquiry inquiry([&] { return MountUsers::ask(mounts); });
    return MountUsers::sentence(inquiry.answer(Inquiry::Clock::now() + AnswerBound).value_or(std::string()));
}

/// What stands in the way of unmounting everything; empty: nothing does.
std::string obstacle(const Ejection& ejection)
{
    for (const Mount& mount : ejection.mounts) {
        if (isInUse(mount)) {
            return mount.target.toStdString() + " is in use by " + usersOf({mount}) + ": nothing was changed";
        }
    }
    for (const Mount& mount : ejection.mounts) {
        const MountCalls::Outcome outcome = MountCalls::writeOut(textOf(mount.target));
        if (!outcome.succeeded()) {
            return mount.target.toStdString() + " cannot be written out: " + std::strerror(outcome.error) +
                   ": nothing was unmounted";
        }
    }
    return {};
}

/// The root is never removed.
void removeDirectory(const QByteArray& directory)
{
    if (directory != ServicePaths::FinalRoot) {
        FileTree::removeDirectory(directory);
    }
}

std::string unmount(const Ejection& ejection)
{
    for (const Mount& mount : ejection.mounts) {
        const MountCalls::Outcome outcome = MountCalls::unmount(textOf(mount.target));
        if (!outcome.succeeded()) {
            return mount.target.toStdString() + " cannot be unmounted: " + std::strerror(outcome.error);
        }
        removeDirectory(mount.target);
    }
    return {};
}

/// Another mount namespace may have it too.
std::string holderOf(const Ejection& ejection)
{
    for (const BlockNode& device : ejection.devices) {
        const Descriptor claimed(open(device.path.c_str(), O_RDONLY | O_EXCL | O_NONBLOCK | O_CLOEXEC));
        if (!claimed.isOpen() && errno == EBUSY) {
            return device.path +
                   " is still used, by another mount namespace or a mapped device: do not pull it";
        }
    }
    return {};
}

/// The service would unmount what is there now when this stick is pulled.
std::string rest(const Ejection& ejection)
{
    for (const Mount& mount : ejection.mounts) {
        if (mount.target != ServicePaths::FinalRoot && FileTree::look(mount.target)) {
            return mount.target.toStdString() +
                   " could not be removed: something else is in it or mounted on it";
        }
    }
    return {};
}

std::string success(const std::string& target, const Ejection& ejection)
{
    const std::string state = target + (ejection.mounts.empty() ? " is not mounted" : " is unmounted");
    return ejection.others.empty()
               ? state + ": it may be pulled"
               : state + ", but not all of its disk: eject " + ejection.others.front() + " too";
}

Result carryOut(const std::string& target, const Ejection& ejection)
{
    const DriverEnds drivers(ejection.devices);
    for (const auto& step : {&obstacle, &unmount}) {
        if (const std::string complaint = step(ejection); !complaint.empty()) {
            return failure(complaint);
        }
    }
    if (!drivers.come(DriverBound)) {
        return failure(target + " is unmounted, but its driver still writes: do not pull it yet");
    }
    if (const std::string holder = holderOf(ejection); !holder.empty()) {
        return failure(holder);
    }
    return {Done, success(target, ejection), rest(ejection)};
}

} // namespace

Result run(const std::string& argument, const std::string& socket)
{
    const std::string target = withoutSlashAtEnd(argument);
    if (geteuid() != 0) {
        return failure("only root may unmount " + target);
    }
    // Any other path may lie on a file system that hangs, and is compared only.
    const dev_t device = target.rfind("/dev/", 0) == 0 ? BlockNodes::numberOf(target) : 0;
    const Ejection ejection = Ejection::of(target, device, look(socket));
    return ejection.refusal.empty() ? carryOut(target, ejection) : failure(ejection.refusal);
}

} // namespace EjectCommand
