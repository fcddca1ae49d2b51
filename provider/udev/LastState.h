#pragma once

#include <optional>
#include <string>
#include <vector>

#include <QByteArray>

#include "provider/udev/AnnouncedDevice.h"

/// The devices that were announced last, in a file that outlives the process but not the machine's session.
class LastState
{
public:
    static const char* const DefaultFile;

    /// Without a name nothing is kept.
    explicit LastState(std::string file = DefaultFile);

    /// Nothing if there is none: no file, one that is not this user's own or that others may write to, one of
    /// an earlier session of the machine, or one that is damaged in any way.
    std::optional<std::vector<AnnouncedDevice>> read() const;
    /// Replaces the file in one step if it would become another. A failure changes nothing: the next start is
    /// then a first one, or knows an earlier state.
    void write(const std::vector<AnnouncedDevice>& devices);

private:
    std::string _file;
    std::vector<AnnouncedDevice> _written;
    bool _isWritten = false;
};
