#include "provider/ExplainCommand.h"

#include <QEventLoop>

#include "kernel/MountTable.h"
#include "process/TerminalText.h"
#include "provider/machine/MachineSource.h"
#include "provider/today/Explanation.h"
#include "provider/udev/LibUdev.h"
#include "provider/udev/UdevSource.h"

namespace ExplainCommand {
namespace {

using namespace std::chrono_literals;

/// How long udev may take to settle.
constexpr auto Patience = 3s;

std::unique_ptr<DeviceSource> sourceFor(const CommandLine& line,
                                        const std::function<void(const QString& text)>& note)
{
    if (!line.machineFile.empty()) {
        return std::make_unique<MachineSource>(line.machineFile, MachineSource::Images::OnlyRead);
    }
    const LastState nothing{std::string()};
    auto source = std::make_unique<UdevSource>(std::make_unique<LibUdev>(), Sysfs(), nothing, Patience);
    QObject::connect(source.get(), &UdevSource::noted, note);
    return source;
}

void waitUntilReady(DeviceSource& source)
{
    QEventLoop loop;
    // Queued: it can be ready before the loop runs.
    QObject::connect(&source, &DeviceSource::ready, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    source.start();
    loop.exec();
}

} // namespace

std::string textFor(const CommandLine& line, const std::function<void(const QString& text)>& note)
{
    const std::unique_ptr<DeviceSource> source = sourceFor(line, note);
    waitUntilReady(*source);
    const std::vector<const Device*> devices = source->devices();
    MountTable mountTable;
    const auto circumstances = Circumstances::of(mountTable.mounts(), BlockStack(), devices);
    std::string text = Explanation::of(Rules::present(devices, line.rules, circumstances), line.node);
    if (text.empty() && !line.node.isEmpty()) {
        throw std::runtime_error("no block device " + TerminalText::harmless(line.node.toStdString()));
    }
    return text;
}

} // namespace ExplainCommand
