#include "drives/KernelDriver.h"

#include "drives/MountPolicy.h"
#include "drives/RemountOptions.h"
#include "kernel/MountCalls.h"
#include "log/LogText.h"

namespace KernelDriver {

bool mount(const QString& deviceFile, const QString& directory, const QString& type)
{
    const QString data = MountPolicy::kernelMountData(type);
    // Kept: no blank after "-t". The line shows what happens; it is never run.
    LogText::debug(QStringLiteral("mount -t%1 %2 %3 %4").arg(type, deviceFile, directory, data));
    const MountCalls::Outcome outcome = MountCalls::mountDevice(deviceFile, directory, type, data);
    if (!outcome.succeeded()) {
        reportFailedMount(outcome.error);
    }
    return outcome.succeeded();
}

QString remount(const QString& deviceFile, const QString& path, const QString& options)
{
    const auto how = RemountOptions::kernelRemount(RemountOptions::optionArgument(options));
    const MountCalls::Outcome outcome = MountCalls::remount(deviceFile, path, how.flags, how.data);
    if (outcome.succeeded()) {
        return RemountOptions::done(path, options);
    }
    QString result = QStringLiteral("ERROR remount: [%1] with error: %2").arg(path, outcome.errorText());
    LogText::warning(result);
    return result;
}

void reportFailedMount(int error)
{
    LogText::warning(QStringLiteral("ERROR mount: %1").arg(MountCalls::Outcome{-1, error}.errorText()));
}

} // namespace KernelDriver
