#include "provider/machine/MachineSource.h"

#include <algorithm>
#include <system_error>

#include "interfaces/ObjectPath.h"
#include "provider/machine/MachineDevice.h"

namespace {

[[noreturn]] void refuse(const QString& reason)
{
    throw std::runtime_error(reason.toStdString());
}

std::string reasonOf(const std::system_error& error, const MachineSection& section)
{
    return error.code() == std::errc::file_exists
               ? "/dev/" + section.node.toStdString() + " exists already and is not replaced"
               : error.what();
}

} // namespace

MachineSource::MachineSource(const std::string& file, Images images)
    : _file(file)
    , _images(images)
{
    for (MachineSection& section : MachineFile::read(file)) {
        _bays.push_back({std::move(section), nullptr, {}, {}});
    }
}

void MachineSource::start()
{
    for (Bay& bay : _bays) {
        if (bay.section.isPlugged) {
            insert(bay);
        }
    }
    Q_EMIT ready();
}

std::vector<const Device*> MachineSource::devices() const
{
    std::vector<const Device*> result;
    for (const Bay& bay : _bays) {
        if (bay.device) {
            result.push_back(&*bay.device);
        }
    }
    return result;
}

void MachineSource::plug(const QString& section)
{
    Bay& bay = bayOf(section);
    if (bay.device) {
        refuse(QStringLiteral("%1 is plugged in already").arg(section));
    }
    insert(bay);
    Q_EMIT added(bay.device->objectPath);
}

void MachineSource::unplug(const QString& section)
{
    Bay& bay = bayOf(section);
    if (!bay.device) {
        refuse(QStringLiteral("%1 is not plugged in").arg(section));
    }
    Q_EMIT removed(bay.device->objectPath);
    bay.device.reset();
    bay.loop.reset();
}

void MachineSource::set(const QString& section, const QString& key, const QString& value)
{
    Bay& bay = bayOf(section);
    MachineFile::setProperty(bay.section, key, value.toUtf8());
    if (bay.device) {
        bay.device = machineDevice(bay.section, bay.content, bay.device->number);
        Q_EMIT changed(bay.device->objectPath);
    }
}

MachineSource::Bay& MachineSource::bayOf(const QString& section)
{
    const auto match =
        std::find_if(_bays.begin(), _bays.end(), [&](const Bay& bay) { return bay.section.name == section; });
    if (match == _bays.end()) {
        refuse(QStringLiteral("this machine has no device %1").arg(section));
    }
    return *match;
}

void MachineSource::insert(Bay& bay)
{
    const MachineSection& section = bay.section;
    if (find(ObjectPath::ofDevice(section.node.toUtf8())) != nullptr) {
        refuse(QStringLiteral("[%1] /dev/%2 belongs to another device").arg(section.name, section.node));
    }
    if (!section.image.empty()) {
        readImage(bay);
    }
    if (!section.image.empty() && _images == Images::Attached) {
        attachImage(bay);
    }
    bay.device = machineDevice(section, bay.content, bay.loop ? bay.loop->number() : 0);
}

void MachineSource::readImage(Bay& bay) const
{
    const std::string& image = bay.section.image;
    try {
        bay.content = identify(image);
    } catch (const std::system_error& error) {
        const std::string place = "[" + bay.section.name.toStdString() + "] ";
        throw MachineFileError(_file + ": " + place + "Image: " + image + ": " + error.code().message());
    }
}

void MachineSource::attachImage(Bay& bay) const
{
    const MachineSection& section = bay.section;
    try {
        bay.loop = std::make_unique<LoopDevice>(section.image, section.node.toStdString());
    } catch (const std::system_error& error) {
        throw std::runtime_error("[" + section.name.toStdString() + "] " + reasonOf(error, section));
    }
}
