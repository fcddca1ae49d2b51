#include "drives/NtfsDriver.h"

#include "drives/RemountOptions.h"
#include "kernel/MountCalls.h"
#include "kernel/ShellCommand.h"
#include "log/LogText.h"

namespace NtfsDriver {
namespace {

constexpr int NoShell = -1;

/// A wait status in base 16, lower-case, without padding; negative numbers with a minus sign ("-1").
QString hexStatus(qint64 status)
{
    // The framework shows a negative number in base 16 as its two's complement.
    return status < 0 ? QLatin1Char('-') + QString::number(-status, 16) : QString::number(status, 16);
}

MountCalls::Outcome runLogged(const ShellCommand& command)
{
    LogText::debug(command.text());
    return MountCalls::run(command);
}

/// Whether the driver has mounted; if not, its wait status is in the log.
bool run(const ShellCommand& driver)
{
    const MountCalls::Outcome outcome = runLogged(driver);
    if (!outcome.succeeded()) {
        LogText::warning(QStringLiteral("WARNING ntfs-3g: 0x%1").arg(hexStatus(outcome.value)));
    }
    return outcome.succeeded();
}

/// The fallback when the driver has refused.
void runReadOnly(const QString& deviceFile, const QString& directory)
{
    // Kept: "-oro" without a blank. Failures are warnings although their texts begin with "ERROR".
    const ShellCommand command(QStringLiteral("ntfs-3g -oro %1 %2"), deviceFile, directory);
    const MountCalls::Outcome outcome = runLogged(command);
    if (outcome.value == NoShell) {
        const QString form = QStringLiteral("ERROR system: [%1] with error: %2");
        LogText::warning(form.arg(directory, outcome.errorText()));
    } else if (!outcome.succeeded()) {
        LogText::warning(QStringLiteral("ERROR ntfs-3g: 0x%1").arg(hexStatus(outcome.value)));
    }
}

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

ShellCommand driverWithOptions(const QString& deviceFile, const QString& path, const QString& options)
{
    // Kept: the words that choose the repair and the driver reach the driver as mount options too.
    const QString form = RemountOptions::ntfsDriver(options) + QStringLiteral(" %1 %2 %3");
    return ShellCommand(form, deviceFile, path, RemountOptions::optionArgument(options));
}

} // namespace

void mount(const QString& deviceFile, const QString& directory)
{
    if (!run(ShellCommand(QStringLiteral("ntfs-3g %1 %2"), deviceFile, directory))) {
        runReadOnly(deviceFile, directory);
    }
}

QString remount(const QString& deviceFile, const QString& path, const QString& options)
{
    unmountForRemount(path);
    if (RemountOptions::wantsRepair(options)) {
        runLogged(ShellCommand(QStringLiteral("ntfsfix %1"), deviceFile));
    }
    if (run(driverWithOptions(deviceFile, path, options))) {
        return RemountOptions::done(path, options);
    }
    // Kept: the caller does not learn whether the fallback worked; the log has it.
    runReadOnly(deviceFile, path);
    return {};
}

} // namespace NtfsDriver
