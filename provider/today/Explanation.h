#pragma once

#include <string>

#include "provider/today/Rules.h"

/// How block devices are presented, and why: text for the user. Text from foreign media is made
/// harmless for a terminal.
namespace Explanation {

/// Some lines about one device.
std::string of(const Presentation& device);

/// About the device that `file` is, a node or a link to one, with or without "/dev/" in front; an empty
/// `file` stands for every device. Empty if there is no such device.
std::string of(const Picture& picture, const QString& file);

} // namespace Explanation
