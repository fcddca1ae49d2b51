#include "drives/Remount.h"

#include "drives/MountPolicy.h"
#include "drives/NtfsMount.h"
#include "drives/RemountOptions.h"
#include "kernel/MountCalls.h"
#include "kernel/ShellCommand.h"
#include "log/LogText.h"
#include "process/StopRequest.h"

namespace Remount {
namespace {

/// Kept: a failed unmount does not stop the remount; the driver then stacks its mount on the old one or
/// fails.
void unmountForRemount(const QString& path)
{
    const MountCalls::Outcome outcome = MountCalls::unmount(path);
    if (!outcome.succeeded()) {
        const QString form = QStringLiteral("ERROR umount: [%1] with error: %2");
        LogText::warning(form.arg(path, outcome.errorText()));
    }
}

void repair(const QString& deviceFile)
{
    const ShellCommand command(QStringLiteral("ntfsfix %1"), deviceFile);
    LogText::debug(command.text());
    MountCalls::run(command);
}

QString done(const Mounted& mounted)
{
    return QStringLiteral("DONE remount: [%1] with options: [%2]").arg(mounted.path, mounted.options);
}

QString remountNtfs(const Mounted& mounted)
{
    unmountForRemount(mounted.path);
    if (RemountOptions::wantsRepair(mounted.options)) {
        repair(mounted.deviceFile);
    }
    // Kept: the words that choose the repair and the driver reach the driver as mount options too.
    const QString form = RemountOptions::ntfsDriver(mounted.options) + QStringLiteral(" %1 %2 %3");
    const QString argument = RemountOptions::optionArgument(mounted.options);
    if (NtfsMount::run(ShellCommand(form, mounted.deviceFile, mounted.path, argument))) {
        return done(mounted);
    }
    // Kept: the caller is not told whether the fallback worked; the log holds it.
    NtfsMount::runReadOnly(mounted.deviceFile, mounted.path);
    return {};
}

QString remountByKernel(const Mounted& mounted)
{
    const auto how = RemountOptions::kernelRemount(RemountOptions::optionArgument(mounted.options));
    const MountCalls::Outcome outcome =
        MountCalls::remount(mounted.deviceFile, mounted.path, how.flags, how.data);
    if (outcome.succeeded()) {
        return done(mounted);
    }
    const QString form = QStringLiteral("ERROR remount: [%1] with error: %2");
    QString result = form.arg(mounted.path, outcome.errorText());
    LogText::warning(result);
    return result;
}

} // namespace

QString carryOut(const Mounted& mounted)
{
    if (StopRequest::isMade()) {
        return {};
    }
    return MountPolicy::isNtfs(mounted.type) ? remountNtfs(mounted) : remountByKernel(mounted);
}

} // namespace Remount
