#include "client/DriveTable.h"

#include <clocale>

#include <gmock/gmock.h>

namespace {

const ListedDrive Windows{
    {30, "/media/C:", "/dev/sda2", "/", "fuseblk", false}, "Windows", Space{500000000000, 123456789012}};
const ListedDrive Bound{{31, "/mnt/My Disk", "/dev/sdb1", "/home", "ext4", true}, "", std::nullopt};

TEST(DriveTable, AlignsItsColumns)
{
    EXPECT_EQ(DriveTable::table({Windows, Bound}),
              "DIRECTORY     DEVICE            TYPE     LABEL    MODE       SIZE       FREE\n"
              "/media/C:     /dev/sda2         fuseblk  Windows  rw    465.7 GiB  115.0 GiB\n"
              "/mnt/My Disk  /dev/sdb1[/home]  ext4              ro            -          -\n");
}

TEST(DriveTable, AlignsNamesByWhatTheyTakeOnAScreen)
{
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    const ListedDrive wide{{1, "/mnt/\xe6\x97\xa5", "d", "/", "t", false}, "l", std::nullopt};
    EXPECT_EQ(DriveTable::table({wide}), "DIRECTORY  DEVICE  TYPE  LABEL  MODE  SIZE  FREE\n"
                                         "/mnt/\xe6\x97\xa5    d       t     l      rw       -     -\n");
}

TEST(DriveTable, ShowsHostileNamesAsEscapes)
{
    const ListedDrive hostile{{1, "/mnt/a\nb", "/dev/sda1", "/\x1b", "ext4", false}, "\x1b[2J", std::nullopt};
    EXPECT_EQ(DriveTable::table({hostile}),
              "DIRECTORY    DEVICE            TYPE  LABEL    MODE  SIZE  FREE\n"
              "/mnt/a\\x0ab  /dev/sda1[/\\x1b]  ext4  \\x1b[2J  rw       -     -\n");
}

TEST(DriveTable, GivesScriptsBytesAndTheNamesAsTheyAre)
{
    EXPECT_EQ(DriveTable::json({Windows}), R"([
    {
        "device": "/dev/sda2",
        "directory": "/media/C:",
        "free": 123456789012,
        "label": "Windows",
        "readOnly": false,
        "root": "/",
        "size": 500000000000,
        "type": "fuseblk"
    }
]
)");
    EXPECT_EQ(DriveTable::json({Bound}), R"([
    {
        "device": "/dev/sdb1",
        "directory": "/mnt/My Disk",
        "free": null,
        "label": "",
        "readOnly": true,
        "root": "/home",
        "size": null,
        "type": "ext4"
    }
]
)");
}

TEST(DriveTable, GivesScriptsAnEmptyArrayWhenNothingIsMounted)
{
    EXPECT_EQ(DriveTable::json({}), "[\n]\n");
}

TEST(DriveTable, EscapesHostileNamesForScripts)
{
    const ListedDrive hostile{{1, "/mnt/\"\n\x1b", "\xff", "/", "ext4", false}, "\\", std::nullopt};
    const std::string json = DriveTable::json({hostile});
    EXPECT_THAT(json, testing::HasSubstr(R"("directory": "/mnt/\"\n\u001b")"));
    EXPECT_THAT(json, testing::HasSubstr("\"device\": \"\xef\xbf\xbd\""));
    EXPECT_THAT(json, testing::HasSubstr(R"("label": "\\")"));
}

TEST(DriveTable, ShowsSizesInUnitsOf1024)
{
    const std::vector<std::pair<std::uint64_t, std::string>> cases{
        {0, "0 B"},
        {1023, "1023 B"},
        {1024, "1.0 KiB"},
        {1075, "1.0 KiB"},
        {1076, "1.1 KiB"},
        {1536, "1.5 KiB"},
        {1048524, "1023.9 KiB"},
        {1048525, "1.0 MiB"},
        {1048576, "1.0 MiB"},
        {1073689395, "1023.9 MiB"},
        {1073689396, "1.0 GiB"},
        {500107862016, "465.8 GiB"},
        {1099457940684, "1023.9 GiB"},
        {1099457940685, "1.0 TiB"},
        {1125844931261235, "1023.9 TiB"},
        {1125844931261236, "1.0 PiB"},
        {1152865209611504000, "1023.9 PiB"},
        {1152865209611506000, "1.0 EiB"},
        {18446744073709551615U, "16.0 EiB"},
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(DriveTable::humanSize(bytes), text) << bytes;
    }
}

} // namespace
