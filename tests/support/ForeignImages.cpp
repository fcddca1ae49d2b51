#include "tests/support/ForeignImages.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/support/Files.h"
#include "tests/support/Images.h"

namespace ForeignImages {
namespace {

using Bytes = std::string;

constexpr std::size_t SectorSize = 512;
constexpr std::size_t PageSize = 4096;

void writeAt(const std::string& image, std::size_t offset, const Bytes& bytes)
{
    std::fstream file(image, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(offset));
    file << bytes;
}

void put(Bytes& target, std::size_t offset, const Bytes& bytes)
{
    target.replace(offset, bytes.size(), bytes);
}

/// A number with its lowest byte first.
template<typename Number>
Bytes littleEndian(Number number)
{
    Bytes result;
    for (std::size_t byte = 0; byte < sizeof number; ++byte) {
        result += static_cast<char>(std::uint64_t(number) >> (8 * byte) & 0xffU);
    }
    return result;
}

std::string image(const std::string& name, std::size_t offset, const Bytes& bytes)
{
    std::string file = Images::blank(name);
    writeAt(file, offset, bytes);
    return file;
}

/// The checksum of LVM's label.
std::uint32_t lvmChecksum(const Bytes& bytes)
{
    std::uint32_t sum = 0xf597a6cf;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = sum >> 1U ^ ((sum & 1U) != 0 ? 0xedb88320U : 0U);
        }
    }
    return sum;
}

/// The checksum of an array's description: the sum of its words, and of the carries.
std::uint32_t mdChecksum(const Bytes& bytes)
{
    std::uint64_t sum = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        sum += std::uint64_t(static_cast<unsigned char>(bytes[at])) << (8 * (at % 4));
    }
    return static_cast<std::uint32_t>(sum + (sum >> 32U));
}

/// Where the journal of an NTFS image lies that mkfs.ntfs has just filled with ones.
std::size_t journalIn(const std::string& image)
{
    const std::size_t place = Files::content(image).find(Bytes(PageSize * 16, '\xff'));
    if (place == Bytes::npos) {
        throw std::runtime_error("no journal in " + image);
    }
    return (place + PageSize - 1) / PageSize * PageSize;
}

/// A page that says: one client is at work. Each sector ends with the page's number; what was there stands at
/// the page's start.
Bytes restartPage()
{
    constexpr std::size_t Area = 0x30;
    constexpr std::size_t Client = Area + 0x30;
    Bytes page(PageSize, '\0');
    put(page, 0, "RSTR" + littleEndian<std::uint16_t>(0x1e) + littleEndian<std::uint16_t>(9));
    put(page, 0x10, littleEndian<std::uint32_t>(PageSize) + littleEndian<std::uint32_t>(PageSize));
    put(page, 0x18,
        littleEndian<std::uint16_t>(Area) + littleEndian<std::uint16_t>(1) + littleEndian<std::uint16_t>(1));
    put(page, 0x1e, littleEndian<std::uint16_t>(1));
    put(page, Area + 0x08, littleEndian<std::uint16_t>(1) + littleEndian<std::uint16_t>(0xffff));
    put(page, Area + 0x10, littleEndian<std::uint32_t>(45)); // bits of a sequence number, for 2 MiB
    put(page, Area + 0x14, littleEndian<std::uint16_t>(0xd0) + littleEndian<std::uint16_t>(0x30));
    put(page, Area + 0x18, littleEndian<std::uint64_t>(2097152));
    put(page, Area + 0x24, littleEndian<std::uint16_t>(0x30) + littleEndian<std::uint16_t>(0x40));
    put(page, Client + 0x10, littleEndian<std::uint32_t>(0xffffffff));
    put(page, Client + 0x1c, littleEndian<std::uint32_t>(8) + Bytes("N\0T\0F\0S\0", 8));
    for (std::size_t end = SectorSize; end <= PageSize; end += SectorSize) {
        put(page, end - 2, littleEndian<std::uint16_t>(1));
    }
    return page;
}

} // namespace

std::string bitLocker(const std::string& name)
{
    constexpr std::size_t Metadata = 65536;
    Bytes header(SectorSize, '\0');
    put(header, 0, "\xeb\x58\x90-FVE-FS-");
    put(header, 176, littleEndian<std::uint64_t>(Metadata));
    std::string file = image(name, 0, header);
    writeAt(file, Metadata, "-FVE-FS-" + littleEndian<std::uint16_t>(64) + littleEndian<std::uint16_t>(2));
    return file;
}

std::string luks(const std::string& name)
{
    Bytes header(1024, '\0');
    put(header, 0, Bytes("LUKS\xba\xbe\0\1", 8));
    put(header, 168, "6d7a4c3e-0f6e-4a57-8b0c-2d4b5f3c1a90");
    return image(name, 0, header);
}

std::string lvm(const std::string& name)
{
    constexpr std::size_t Checked = 20;
    Bytes label(SectorSize, '\0');
    put(label, 0, "LABELONE" + littleEndian<std::uint64_t>(1));
    put(label, Checked, littleEndian<std::uint32_t>(32) + "LVM2 001" + "0123456789abcdefghijklmnopqrstuv");
    put(label, Checked - 4, littleEndian(lvmChecksum(label.substr(Checked))));
    return image(name, SectorSize, label);
}

std::string md(const std::string& name)
{
    constexpr std::size_t Place = 4096;
    constexpr std::size_t Described = 256;
    Bytes block(PageSize, '\0');
    put(block, 0, littleEndian<std::uint32_t>(0xa92b4efc) + littleEndian<std::uint32_t>(1));
    put(block, 144, littleEndian<std::uint64_t>(Place / SectorSize));
    put(block, 216, littleEndian(mdChecksum(block.substr(0, Described))));
    return image(name, Place, block);
}

std::string pool(const std::string& name)
{
    return image(name, 0, "bluestore block device\n");
}

std::string firmwareRaid(const std::string& name)
{
    std::string file = Images::blank(name);
    writeAt(file, std::filesystem::file_size(file) - 2 * SectorSize, "Intel Raid ISM Cfg Sig. 1.3.00");
    return file;
}

std::string refs(const std::string& name)
{
    return image(name, 0, Bytes("\0\0\0ReFS\0", 8));
}

void damage(const std::string& image)
{
    const Bytes content = Files::content(image);
    const std::size_t first = content.find("FILE0");
    const std::size_t second = content.find(content.substr(first, 512), first + SectorSize);
    if (second == Bytes::npos) {
        throw std::runtime_error("no second table in " + image);
    }
    writeAt(image, second, Bytes(SectorSize, '\0'));
}

void leaveUnclean(const std::string& image)
{
    const std::size_t place = journalIn(image);
    writeAt(image, place, restartPage() + restartPage());
}

} // namespace ForeignImages
