#pragma once

#include <map>
#include <string>
#include <vector>

#include <QJsonObject>

#include "tests/support/Process.h"

/// The shipped client beside the shipped service.
namespace Listing {

/// Runs `vrmountctl` with these arguments.
ProcessResult client(const std::vector<std::string>& arguments);
/// Its list by device; the last line of a device counts. Standard error is not looked at. Throws
/// std::runtime_error if the list is not valid JSON.
std::map<std::string, QJsonObject> byDevice();
/// A text of a device's line, such as its "note"; empty if there is none.
std::string text(const std::string& device, const char* member);
inline std::string noteOn(const std::string& device)
{
    return text(device, "note");
}

} // namespace Listing
