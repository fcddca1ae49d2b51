#pragma once

#include <string>

/// The time of one bare question to UDisks and its answer, a property of the device with this node, in
/// milliseconds: the median of a thousand in a row.
double bareRoundTrip(const std::string& node, const std::string& property = "DeviceFile");
