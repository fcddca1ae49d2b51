#pragma once

#include <string>
#include <vector>

#include "provider/Device.h"
#include "provider/today/Rules.h"

/// Devices as a source describes them, and what the rules make of them.
namespace SampleDevices {

/// /dev/`node` with the given properties.
Device device(const QString& node, const QVariantMap& properties = {});
/// A partition of a disk of the machine; its true major number is that of the node's kind.
Device internal(const QString& node, const QString& type, const QVariantMap& properties = {});
/// A file system on a disk that can be pulled out.
Device external(const QString& node, const QString& type, const QString& label,
                const QVariantMap& properties = {});

Picture present(const std::vector<Device>& devices, const Rules::Selection& rules = Rules::allBut({}),
                const Circumstances& circumstances = {});
/// Only one rule.
Rules::Selection only(const char* word);

/// The offered devices: names of the nodes, in order.
std::vector<std::string> nodes(const Picture& picture);
/// The value of a property for each device, in order.
std::vector<std::string> shown(const Picture& picture, const char* property);
/// The words of the rules that made a difference to one device.
std::vector<std::string> reasons(const Presentation& device);

} // namespace SampleDevices
