#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include "kernel/Identification.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

std::string refusalOf(const std::string& image)
{
    try {
        identify(image);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "not refused";
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

TEST(IdentificationTest, ReadsFilesAndBlockDevicesOnlyAndWaitsForNothing)
{
    const TemporaryDirectory directory;
    const std::string pipe = directory.path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& image :
         {pipe, directory.path(), std::string("/dev/null"), std::string("/dev/zero")}) {
        EXPECT_EQ(refusalOf(image), "Invalid argument") << image;
    }
    EXPECT_EQ(refusalOf(directory.path() + "/none"), "No such file or directory");
}
