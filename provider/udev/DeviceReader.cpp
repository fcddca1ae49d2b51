#include "provider/udev/DeviceReader.h"

#include <chrono>

namespace {

/// When udev's clock began, which counts from the start of the machine: in microseconds.
qlonglong startOfClock()
{
    using std::chrono::duration_cast;
    using std::chrono::microseconds;
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return (duration_cast<microseconds>(now) - duration_cast<microseconds>(sinceStart)).count();
}

} // namespace

DeviceReader::DeviceReader(const Udev& udev, Sysfs sysfs)
    : _udev(udev)
    , _sysfs(std::move(sysfs))
    , _bootTime(startOfClock())
{
}

bool DeviceReader::isThere(const BlockDevice& block) const
{
    return _sysfs.exists(block.path());
}

bool DeviceReader::isUnchanged(const ShownDevice& known, const BlockDevice& now) const
{
    return known.block == now && known.size == sizeOf(now);
}

std::optional<ShownDevice> DeviceReader::read(const BlockDevice& block) const
{
    const std::optional<UdevDevice> shown =
        isFinished(block) ? shownAs(block, _sysfs, _bootTime) : std::nullopt;
    return shown ? std::make_optional(ShownDevice{block, sizeOf(block), *shown}) : std::nullopt;
}

QStringList DeviceReader::unfinished(const std::vector<BlockDevice>& blocks) const
{
    QStringList names;
    for (const BlockDevice& block : blocks) {
        if (!isFinished(block) && shownAs(block, _sysfs, _bootTime)) {
            names += QString::fromUtf8(block.name());
        }
    }
    return names;
}

qulonglong DeviceReader::sizeOf(const BlockDevice& block) const
{
    return _sysfs.number(block.path(), "size");
}

/// Whether all is known that can be. Without udev that is what the kernel says.
bool DeviceReader::isFinished(const BlockDevice& block) const
{
    return block.isInitialized() || !_udev.isRunning();
}
