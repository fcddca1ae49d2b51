#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/MachineProvider.h"

/// A simulated PC: disk images as block devices below /dev, and the UDisks service that knows them.
class Machine
{
public:
    /// Further lines of the machine file, such as "IdLabel = MY%20STICK".
    using Settings = std::vector<std::string>;

    /// A partition of a fixed disk; `node` is its name below /dev ("sda1") and the machine's name for it.
    void addInternal(const std::string& node, const std::string& image, const Settings& settings = {});
    /// A stick, or a partition of one, that is there from the start.
    void addExternal(const std::string& node, const std::string& image, const Settings& settings = {});
    /// A stick that is not plugged in yet.
    void addUnplugged(const std::string& node, const std::string& image, const Settings& settings = {});

    /// The machine is presented by the provider's table of today's machines, as a real one is.
    void presentAsToday() { _options = {"--as-today"}; }

    /// Attaches the disks and starts UDisks. Throws std::runtime_error with its words if it does not come up.
    void start();
    /// Ends UDisks; what is mounted stays mounted.
    void stopUDisks() { _udisks.reset(); }
    /// Lets UDisks hang, and go on.
    void freezeUDisks();
    void thawUDisks();
    /// The process that is UDisks here.
    pid_t udisksId() { return _udisks->process().id(); }

    /// These throw std::runtime_error if UDisks refuses.
    void plug(const std::string& node);
    void unplug(const std::string& node);

    /// A property's value as the machine file wants it, whatever bytes it holds.
    static std::string encoded(const std::string& value);

private:
    void add(const std::string& node, const std::string& image, const Settings& settings);

    std::string _description = "; a simulated PC\n";
    std::vector<std::string> _options;
    std::unique_ptr<MachineProvider> _udisks;
};
