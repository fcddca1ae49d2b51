#include <filesystem>
#include <fstream>
#include <system_error>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include "kernel/Identification.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

std::string reasonOf(const std::string& image)
{
    try {
        identify(image);
    } catch (const std::system_error& error) {
        return error.code().message();
    }
    return "not refused";
}

/// A swap area; it is not looked for in less than this.
std::string swapArea(const std::string& label)
{
    constexpr std::size_t Header = 1024;
    constexpr std::size_t Signature = 4096 - 10;
    std::string area(2 << 20, '\0');
    area[Header] = 1;     // version
    area[Header + 4] = 1; // the last page
    area.replace(Header + 28, label.size(), label);
    area.replace(Signature, 10, "SWAPSPACE2");
    return area;
}

} // namespace

TEST(IdentificationTest, CountsWholeSectors)
{
    const TemporaryDirectory directory;
    const std::string image = directory.path() + "/image";
    std::ofstream(image).flush();
    const struct
    {
        std::uintmax_t bytes;
        quint64 size;
    } table[] = {{0, 0}, {1, 0}, {511, 0}, {512, 512}, {513, 512}, {1000100, 999936}, {1000448, 1000448}};
    for (const auto& row : table) {
        std::filesystem::resize_file(image, row.bytes);
        const Identification found = identify(image);
        EXPECT_EQ(found.size, row.size) << row.bytes;
        EXPECT_EQ(found.type, QString()) << row.bytes;
        EXPECT_EQ(found.tableType, QString()) << row.bytes;
    }
}

TEST(IdentificationTest, LeavesTheBytesOfALabelAlone)
{
    const TemporaryDirectory directory;
    const std::string image = directory.path() + "/image";
    std::ofstream(image) << swapArea("M\xe4rz \n\x1b");
    const Identification found = identify(image);
    EXPECT_EQ(found.type, QStringLiteral("swap"));
    EXPECT_EQ(found.label, "M\xe4rz \n\x1b");
}

TEST(IdentificationTest, ReadsFilesAndBlockDevicesOnlyAndWaitsForNothing)
{
    const TemporaryDirectory directory;
    const std::string pipe = directory.path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& image :
         {pipe, directory.path(), std::string("/dev/null"), std::string("/dev/zero")}) {
        EXPECT_EQ(reasonOf(image), "Invalid argument") << image;
    }
    EXPECT_EQ(reasonOf(directory.path() + "/none"), "No such file or directory");
}
