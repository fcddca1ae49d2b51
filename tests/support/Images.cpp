#include "tests/support/Images.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include "tests/support/Files.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;

namespace Images {
namespace {

constexpr std::uintmax_t DiskSize = 67108864; // of which the table alone takes room

const Process::Environment Utf8Locale = {{"LC_ALL", "C.UTF-8"}};

void run(const std::vector<std::string>& command)
{
    const ProcessResult result = runProgram(command, Utf8Locale);
    if (result.status != 0) {
        throw std::runtime_error(command.front() + ": " + result.output);
    }
}

void fill(const fs::path& root, const Entries& entries)
{
    for (const std::string& entry : entries) {
        if (entry.back() == '/') {
            fs::create_directory(root / entry.substr(0, entry.size() - 1));
        } else {
            std::ofstream(root / entry) << entry;
        }
    }
}

/// Mounts an NTFS image by its driver for as long as the object lives. The driver stays in the foreground, so
/// that its end says that everything has been written.
class OpenNtfs
{
public:
    explicit OpenNtfs(const std::string& image)
        : _driver({"ntfs-3g", "-o", "no_detach,compression", image, _directory.path()},
                  _directory.path() + ".output")
    {
        const auto isMounted = [this] { return KernelMounts::at(_directory.path()).has_value(); };
        if (!waitFor([&] { return isMounted() || !_driver.isRunning(); }) || !isMounted()) {
            throw std::runtime_error("ntfs-3g: " + _driver.output());
        }
    }
    ~OpenNtfs()
    {
        umount(_directory.path().c_str());
        _driver.waitForEnd();
    }
    OpenNtfs(const OpenNtfs&) = delete;
    OpenNtfs& operator=(const OpenNtfs&) = delete;

    const std::string& path() const { return _directory.path(); }

private:
    TemporaryDirectory _directory;
    Process _driver;
};

void compressWhatComesInto(const fs::path& directory)
{
    const char compressed[] = {0, 0, 0x08, 0};
    if (setxattr(directory.c_str(), "system.ntfs_attrib_be", compressed, sizeof compressed, 0) != 0) {
        throw std::runtime_error("a directory that cannot be compressed");
    }
}

/// Whether the file takes less room than it has bytes has to be as it is meant.
void requireSmaller(const fs::path& file, bool isMeant)
{
    constexpr std::int64_t BlockSize = 512;
    struct stat about = {};
    const bool isSmaller = stat(file.c_str(), &about) == 0 && about.st_blocks * BlockSize < about.st_size;
    if (isSmaller != isMeant) {
        throw std::runtime_error("a file that is not stored as it is meant");
    }
}

} // namespace

std::string formatted(const std::string& file, std::vector<std::string> formatter)
{
    std::ofstream(file).flush();
    fs::resize_file(file, 16 << 20);
    formatter.push_back(file);
    run(formatter);
    return file;
}

std::string blank(const std::string& name)
{
    fs::create_directories("/tmp/images");
    std::string image = "/tmp/images/" + name;
    Files::write(image, "");
    fs::resize_file(image, UsualSize);
    return image;
}

std::string ntfs(const std::string& name, const std::string& label, const Entries& entries,
                 const std::string& serial, std::uintmax_t size)
{
    std::string image = blank(name);
    fs::resize_file(image, size);
    run({"mkfs.ntfs", "-F", "-Q", "-q", "-L", label, image});
    if (!serial.empty()) {
        run({"ntfslabel", "--new-serial=" + serial, image});
    }
    if (!entries.empty()) {
        const OpenNtfs mounted(image);
        fill(mounted.path(), entries);
    }
    return image;
}

std::string ext4(const std::string& name, const std::string& label, const Entries& entries,
                 const std::string& uuid)
{
    std::string image = blank(name);
    const TemporaryDirectory content;
    fill(content.path(), entries);
    run({"mkfs.ext4", "-F", "-q", "-L", label, "-U", uuid.empty() ? "random" : uuid, "-d", content.path(),
         image});
    return image;
}

std::string swap(const std::string& name, const std::string& label)
{
    std::string image = blank(name);
    run({"mkswap", "-L", label, image});
    return image;
}

std::string disk(const std::string& name, const std::string& table)
{
    std::string image = blank(name);
    fs::resize_file(image, DiskSize);
    const std::string script = image + ".table";
    Files::write(script, table);
    run({"sh", "-c", "exec sfdisk --quiet \"$0\" <\"$1\"", image, script});
    return image;
}

void put(const std::string& image, const std::string& path, const std::string& file, Stored stored)
{
    const OpenNtfs mounted(image);
    fs::path target = mounted.path() + "/" + path;
    fs::create_directories(target.parent_path());
    if (stored == Stored::Compressed) {
        compressWhatComesInto(target.parent_path());
    }
    if (stored == Stored::Link) {
        fs::create_symlink(target.filename().string() + ".copy", target);
        target += ".copy";
    }
    run({"cp", stored == Stored::Sparse ? "--sparse=always" : "--sparse=never", file, target});
    requireSmaller(target, stored == Stored::Compressed || stored == Stored::Sparse);
}

void hibernate(const std::string& image)
{
    constexpr std::size_t HeaderSize = 4096;
    const OpenNtfs mounted(image);
    std::ofstream(fs::path(mounted.path()) / "hiberfil.sys", std::ios::binary)
        << "hibr" << std::string(HeaderSize, '\1');
}

void mount(const std::string& image, const std::string& directory)
{
    run({"mount", "-o", "loop", image, directory});
}

std::string checksum(const std::string& image)
{
    return runProgram({"sha256sum", image}).output;
}

} // namespace Images
