#pragma once

#include <functional>
#include <string>

#include "provider/CommandLine.h"

/// `vrudisks --explain`: says what a provider that starts now presents, and why. It serves nothing and needs
/// no bus, attaches no image, takes no mount away and leaves the memory of the provider that serves alone.
namespace ExplainCommand {

/// The text for the user; `note` gets anything that the user should know about udev. Throws
/// std::runtime_error when there is no such device, and MachineFileError.
std::string textFor(const CommandLine& line, const std::function<void(const QString& text)>& note);

} // namespace ExplainCommand
