#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Disk images with real file systems, made below /tmp/images. Every function throws std::runtime_error with
/// the tool's own words when an image cannot be made.
namespace Images {

/// The content of a file system: "Windows/" is a directory, "Windows/notes.txt" a file that contains its own
/// path. Parents come before what is in them.
using Entries = std::vector<std::string>;

/// Bytes, unless another size is asked for.
constexpr std::uintmax_t UsualSize = 6291456;

/// `serial` is the volume's serial number in 16 hexadecimal digits, a random one by default.
std::string ntfs(const std::string& name, const std::string& label, const Entries& entries = {},
                 const std::string& serial = {}, std::uintmax_t size = UsualSize);
/// An empty `uuid` stands for a random one.
std::string ext4(const std::string& name, const std::string& label, const Entries& entries = {},
                 const std::string& uuid = {});
std::string swap(const std::string& name, const std::string& label);
/// An image without any file system.
std::string blank(const std::string& name);

/// A disk with a partition table, as sfdisk(8) understands it, and nothing in its partitions.
std::string disk(const std::string& name, const std::string& table);

enum class Stored
{
    Plain,
    Compressed, ///< by NTFS itself
    Sparse,     ///< without what is zero
    Link,       ///< a symbolic link to a copy beside it
};

/// Copies `file` into an NTFS image, to `path` from its root; makes the directories that are missing.
void put(const std::string& image, const std::string& path, const std::string& file,
         Stored stored = Stored::Plain);

/// A new file of 16 MiB at `file`, wherever that is, after `formatter` was run with it as the last argument.
/// Returns `file`.
std::string formatted(const std::string& file, std::vector<std::string> formatter);

/// Marks an NTFS image as left behind by a Windows that sleeps.
void hibernate(const std::string& image);

/// Mounts an image of a file system that the kernel or a mount helper knows.
void mount(const std::string& image, const std::string& directory);

/// A number that distinguishes two contents of an image.
std::string checksum(const std::string& image);

} // namespace Images
