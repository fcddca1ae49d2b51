#pragma once

#include <string>

/// Disk images with what no service can mount, below /tmp/images: as much of it as is needed to recognise it.
namespace ForeignImages {

std::string bitLocker(const std::string& name);
std::string luks(const std::string& name);
std::string lvm(const std::string& name);
std::string md(const std::string& name);
/// A part of a pool of many machines' disks.
std::string pool(const std::string& name);
/// A disk of an array that the firmware of PCs makes.
std::string firmwareRaid(const std::string& name);
/// A file system of Windows for which no kernel has a driver.
std::string refs(const std::string& name);

/// Makes the two copies of the most important table of an NTFS image differ: no driver mounts it.
void damage(const std::string& image);
/// Leaves an NTFS image, which nobody has mounted since it was made, as a Windows that was switched off does:
/// with an open journal.
void leaveUnclean(const std::string& image);

} // namespace ForeignImages
