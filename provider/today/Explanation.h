#pragma once

#include <string>

#include "provider/today/Rules.h"

/// What is presented of block devices, and why: text for the user. What comes from foreign media is made
/// harmless for a terminal.
namespace Explanation {

/// Some lines about one device.
std::string of(const Presentation& device);

/// About the device that `file` is, a node or a link to one, with or without "/dev/" in front; an empty
/// `file` stands for every device. Empty if there is no such device.
std::string of(const Picture& picture, const QString& file);

} // namespace Explanation
