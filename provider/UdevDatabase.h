#pragma once

#include <string>

#include <sys/types.h>

/// What udev has found out about block devices. It writes an entry when it is done with a device, and before
/// it tells anybody of the device.
class UdevDatabase
{
public:
    enum class Knowledge
    {
        Nothing,
        Device, ///< it is done, and has recognised nothing on the device
        Content ///< the type of what the device holds
    };

    explicit UdevDatabase(std::string directory = "/run/udev/data");

    Knowledge knowledgeOf(dev_t number) const;

private:
    std::string _directory;
};
