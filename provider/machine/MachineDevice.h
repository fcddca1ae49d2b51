#pragma once

#include <sys/types.h>

#include "kernel/Identification.h"
#include "provider/Device.h"
#include "provider/machine/MachineFile.h"

/// The device that a section of the machine's file stands for: what the section gives, and beside it what
/// follows from the node's name and from the content of the image. `number` is the loop device's, 0 without
/// an image.
Device machineDevice(const MachineSection& section, const Identification& content, dev_t number);
