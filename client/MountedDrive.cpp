#include "client/MountedDrive.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <libmount.h>

#include "interfaces/ServicePaths.h"

namespace MountedDrives {
namespace {

using Table = std::unique_ptr<libmnt_table, void (*)(libmnt_table*)>;
using Iterator = std::unique_ptr<libmnt_iter, void (*)(libmnt_iter*)>;

std::string textOrEmpty(const char* text)
{
    return text == nullptr ? "" : text;
}

bool hasOption(const char* options, const char* name)
{
    return options != nullptr && mnt_optstr_get_option(options, name, nullptr, nullptr) == 0;
}

MountedDrive driveOf(libmnt_fs* line)
{
    MountedDrive drive;
    drive.mountId = mnt_fs_get_id(line);
    drive.directory = textOrEmpty(mnt_fs_get_target(line));
    drive.device = textOrEmpty(mnt_fs_get_source(line));
    drive.root = textOrEmpty(mnt_fs_get_root(line));
    drive.type = textOrEmpty(mnt_fs_get_fstype(line));
    drive.readOnly =
        hasOption(mnt_fs_get_vfs_options(line), "ro") || hasOption(mnt_fs_get_fs_options(line), "ro");
    return drive;
}

bool startsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

bool isListed(const MountedDrive& drive)
{
    for (const std::string root : {ServicePaths::FinalRoot, ServicePaths::TemporaryRoot}) {
        if (drive.directory == root) {
            return startsWith(drive.device, "/dev/") && drive.root == "/";
        }
        if (startsWith(drive.directory, root + '/')) {
            return true;
        }
    }
    return false;
}

Table parsed(const std::string& mountTable)
{
    Table table(mnt_new_table(), &mnt_unref_table);
    if (!table) {
        throw std::bad_alloc();
    }
    const int result = mnt_table_parse_file(table.get(), mountTable.c_str());
    if (result != 0) {
        throw std::runtime_error("cannot read " + mountTable + ": " + std::strerror(-result));
    }
    return table;
}

} // namespace

std::vector<MountedDrive> read(const std::string& mountTable)
{
    const Table table = parsed(mountTable);
    const Iterator iterator(mnt_new_iter(MNT_ITER_FORWARD), &mnt_free_iter);
    std::vector<MountedDrive> drives;
    libmnt_fs* line = nullptr;
    while (mnt_table_next_fs(table.get(), iterator.get(), &line) == 0) {
        MountedDrive drive = driveOf(line);
        if (isListed(drive)) {
            drives.push_back(std::move(drive));
        }
    }
    // The table has a mount below the one that hides it. Ids do not say so: the kernel reuses them.
    std::stable_sort(drives.begin(), drives.end(), [](const MountedDrive& first, const MountedDrive& second) {
        return first.directory < second.directory;
    });
    return drives;
}

} // namespace MountedDrives
