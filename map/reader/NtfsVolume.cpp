#include "map/reader/NtfsVolume.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "map/reader/LibNtfs.h"

namespace {

constexpr std::size_t PieceSize = 1 << 18;

using Inode = std::unique_ptr<ntfs_inode, decltype(&ntfs_inode_close)>;
using Content = std::unique_ptr<ntfs_attr, decltype(&ntfs_attr_close)>;

_ntfs_volume* mount(NtfsDevice& descriptor)
{
    ntfs_log_set_handler(&ntfs_log_handler_null);
    ntfs_device* const device = descriptor.make();
    _ntfs_volume* const volume = device == nullptr ? nullptr : ntfs_device_mount(device, NTFS_MNT_RDONLY);
    if (volume == nullptr) {
        ntfs_device_free(device);
        throw std::runtime_error("no readable NTFS");
    }
    return volume;
}

Inode open(_ntfs_volume* volume, NtfsVolume::Reference reference)
{
    Inode inode(ntfs_inode_open(volume, reference), &ntfs_inode_close);
    const bool isElsewhere = inode && (inode->flags & FILE_ATTR_REPARSE_POINT) != 0;
    return isElsewhere ? Inode(nullptr, &ntfs_inode_close) : std::move(inode);
}

bool isDirectory(const Inode& inode)
{
    return inode && (inode->mrec->flags & MFT_RECORD_IS_DIRECTORY) != 0;
}

Content contentOf(const Inode& inode)
{
    const bool isFile = inode && !isDirectory(inode);
    return {isFile ? ntfs_attr_open(inode.get(), AT_DATA, AT_UNNAMED, 0) : nullptr, &ntfs_attr_close};
}

std::string textOf(const ntfschar* name, int length)
{
    char* text = nullptr;
    const int size = ntfs_ucstombs(name, length, &text, 0);
    const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
    return size < 0 ? std::string() : std::string(text, static_cast<std::size_t>(size));
}

/// While it lives, names are what they are.
class CaseSensitive
{
public:
    explicit CaseSensitive(_ntfs_volume* volume)
        : _volume(volume)
    {
        NVolSetCaseSensitive(_volume);
    }
    ~CaseSensitive() { _volume->state &= ~(1UL << NV_CaseSensitive); }
    CaseSensitive(const CaseSensitive&) = delete;
    CaseSensitive& operator=(const CaseSensitive&) = delete;

private:
    _ntfs_volume* _volume;
};

struct Listing
{
    std::size_t limit;
    std::vector<NtfsVolume::Entry> entries;
};

/// Called by the library; another result than 0 ends the listing. Of the two names that a file may have, the
/// short one is of no interest.
int note(void* listing, const ntfschar* name, int length, int nameType, s64 /*position*/, MFT_REF reference,
         unsigned type)
{
    auto& found = *static_cast<Listing*>(listing);
    std::string text = textOf(name, length);
    const bool isKnownType = type == NTFS_DT_DIR || type == NTFS_DT_REG;
    if (isKnownType && nameType != FILE_NAME_DOS && text != "." && text != "..") {
        found.entries.push_back({std::move(text), type == NTFS_DT_DIR, MREF(reference)});
    }
    return found.entries.size() < found.limit ? 0 : -1;
}

} // namespace

const NtfsVolume::Reference NtfsVolume::Root = FILE_root;

NtfsVolume::NtfsVolume(int descriptor)
    : _device(descriptor)
    , _volume(mount(_device))
{
    ntfs_set_ignore_case(_volume);
}

NtfsVolume::~NtfsVolume()
{
    ntfs_umount(_volume, FALSE);
}

std::optional<NtfsVolume::Reference> NtfsVolume::find(Reference start,
                                                      const std::vector<std::string>& path) const
{
    Reference place = start;
    for (const std::string& name : path) {
        const Inode directory = open(_volume, place);
        const u64 found =
            isDirectory(directory) ? ntfs_inode_lookup_by_mbsname(directory.get(), name.c_str()) : ~u64(0);
        if (found == ~u64(0)) {
            return std::nullopt;
        }
        place = MREF(found);
    }
    return open(_volume, place) ? std::optional<Reference>(place) : std::nullopt;
}

std::vector<NtfsVolume::Entry> NtfsVolume::entries(Reference directory, std::size_t limit) const
{
    // Without regard to case, names would be listed in lower case.
    const CaseSensitive exact(_volume);
    Listing found{limit, {}};
    const Inode inode = open(_volume, directory);
    s64 position = 0;
    if (isDirectory(inode)) {
        ntfs_readdir(inode.get(), &position, &found, &note);
    }
    return std::move(found.entries);
}

std::optional<std::uint64_t> NtfsVolume::size(Reference file) const
{
    const Inode inode = open(_volume, file);
    const Content content = contentOf(inode);
    return content ? std::optional<std::uint64_t>(static_cast<std::uint64_t>(content->data_size))
                   : std::nullopt;
}

void NtfsVolume::read(Reference file,
                      const std::function<void(const char* data, std::size_t size)>& take) const
{
    const Inode inode = open(_volume, file);
    const Content content = contentOf(inode);
    const s64 size = content ? content->data_size : -1;
    std::vector<char> piece(PieceSize);
    s64 position = 0;
    while (position < size) {
        const s64 count = ntfs_attr_pread(content.get(), position, PieceSize, piece.data());
        if (count <= 0) {
            break;
        }
        take(piece.data(), static_cast<std::size_t>(count));
        position += count;
    }
    if (position != size) {
        throw std::runtime_error("a file that cannot be read");
    }
}
