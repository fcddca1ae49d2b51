#pragma once

#include "provider/today/Picture.h"

/// An external file system is mounted in a directory named after its label.

/// NTFS: the driver's command line is split at blanks, so "_" stands for each in the label.
void replaceBlanks(Presentation& device, const Circumstances& circumstances);

/// A label that is the directory of a Windows drive ("C:", "system-reserved") gets a "_" for its sign.
void respellDriveLetter(Presentation& device, const Circumstances& circumstances);

/// Of several external file systems with one name the first keeps it, and later ones get "_2", "_3" behind
/// theirs. None gets a name that another device has as its own.
void numberEqualNames(Picture& picture, const Circumstances& circumstances);
