#pragma once

#include <memory>
#include <string>

#include <QDBusObjectPath>

#include "tests/support/Process.h"
#include "tests/support/TemporaryDirectory.h"

/// UDisks on the private bus of this test program: the shipped provider with made-up devices, without images.
class ProvidedDevices
{
public:
    /// `machine` is the text of a machine file. Returns when the provider owns its name on the bus.
    explicit ProvidedDevices(const std::string& machine);

    /// Makes the device of a section appear or go, as a person would plug and pull it.
    static void plug(const std::string& section);
    static void unplug(const std::string& section);

    static QDBusObjectPath device(const std::string& node);

    Process& process() { return *_process; }
    void restart();

private:
    void start();

    TemporaryDirectory _directory;
    std::unique_ptr<Process> _process;
};
