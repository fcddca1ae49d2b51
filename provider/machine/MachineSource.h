#pragma once

#include <memory>
#include <optional>
#include <string>

#include "kernel/Identification.h"
#include "kernel/LoopDevice.h"
#include "provider/DeviceSource.h"
#include "provider/machine/MachineFile.h"

/// The devices of a simulated machine, in the order of its file. A device with an image is attached to a loop
/// device while it is plugged in.
///
/// Operations that are refused throw std::runtime_error with one line for the user.
class MachineSource : public DeviceSource
{
    Q_OBJECT

public:
    enum class Images
    {
        Attached,
        OnlyRead, ///< no node and no loop device are made
    };

    /// Reads `file`. Throws MachineFileError.
    explicit MachineSource(const std::string& file, Images images = Images::Attached);

    /// Plugs in what is there from the start. Throws MachineFileError too, when an image cannot be read.
    void start() override;
    std::vector<const Device*> devices() const override;

    /// Reads the image and makes the node. Refused for an unknown section, one that is plugged in, one whose
    /// node another device has, and if the image cannot be attached.
    void plug(const QString& section);
    /// Removes the node. Mounts stay, as with a stick that is pulled out.
    void unplug(const QString& section);
    /// Gives a property of a device another value, plugged in or not; `key` and `value` as in the file.
    void set(const QString& section, const QString& key, const QString& value);

private:
    struct Bay
    {
        MachineSection section;
        std::unique_ptr<LoopDevice> loop;
        Identification content;
        std::optional<Device> device; ///< nothing: not plugged in
    };

    Bay& bayOf(const QString& section);
    void insert(Bay& bay);
    void readImage(Bay& bay) const;
    void attachImage(Bay& bay) const;

    std::string _file;
    Images _images;
    std::vector<Bay> _bays;
};
