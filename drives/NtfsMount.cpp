#include "drives/NtfsMount.h"

#include "drives/MountPolicy.h"
#include "kernel/MountCalls.h"
#include "log/LogText.h"

namespace NtfsMount {
namespace {

MountCalls::Outcome runLogged(const ShellCommand& command)
{
    LogText::debug(command.text());
    return MountCalls::run(command);
}

constexpr int NoShell = -1;

} // namespace

bool run(const ShellCommand& driver)
{
    const MountCalls::Outcome outcome = runLogged(driver);
    if (!outcome.succeeded()) {
        LogText::warning(QStringLiteral("WARNING ntfs-3g: 0x%1").arg(MountPolicy::hexStatus(outcome.value)));
    }
    return outcome.succeeded();
}

bool runReadOnly(const QString& deviceFile, const QString& directory)
{
    // Kept: "-oro" without a blank. Failures are warnings although their texts begin with "ERROR".
    const ShellCommand command(QStringLiteral("ntfs-3g -oro %1 %2"), deviceFile, directory);
    const MountCalls::Outcome outcome = runLogged(command);
    if (outcome.value == NoShell) {
        const QString form = QStringLiteral("ERROR system: [%1] with error: %2");
        LogText::warning(form.arg(directory, outcome.errorText()));
    } else if (!outcome.succeeded()) {
        LogText::warning(QStringLiteral("ERROR ntfs-3g: 0x%1").arg(MountPolicy::hexStatus(outcome.value)));
    }
    return outcome.succeeded();
}

} // namespace NtfsMount
