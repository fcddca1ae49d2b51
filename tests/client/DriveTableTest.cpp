#include "client/DriveTable.h"

#include <clocale>

#include <gmock/gmock.h>

namespace {

ListedDrive mounted(const MountedDrive& mount, const std::string& label,
                    const std::optional<Space>& space = std::nullopt)
{
    return {mount, mount.type == "fuseblk" ? "ntfs" : mount.type, label, space, 0, std::nullopt};
}

ListedDrive with(ListedDrive drive, const Note& note)
{
    drive.note = note;
    return drive;
}

const ListedDrive Windows = mounted({30, "/media/C:", "/dev/sda2", "/", "fuseblk", false, 0}, "Windows",
                                    Space{500000000000, 123456789012});
const ListedDrive Bound = mounted({31, "/mnt/My Disk", "/dev/sdb1", "/home", "ext4", true, 0}, "");
const ListedDrive Locked{{0, "", "/dev/sda4", "/", "", false, 0},
                         "BitLocker",
                         "",
                         std::nullopt,
                         1073741824,
                         Note{"bitlocker", "encrypted", "Unlock it.", false}};

TEST(DriveTable, AlignsItsColumns)
{
    EXPECT_EQ(DriveTable::table({Windows, Bound}),
              "DIRECTORY     DEVICE            TYPE  LABEL    MODE       SIZE       FREE  NOTE\n"
              "/media/C:     /dev/sda2         ntfs  Windows  rw    465.7 GiB  115.0 GiB\n"
              "/mnt/My Disk  /dev/sdb1[/home]  ext4           ro            -          -\n");
}

TEST(DriveTable, ShowsNotesBesideTheDrivesAndTheirRemediesBelow)
{
    EXPECT_EQ(
        DriveTable::table({with(Windows, {"hibernated", "it sleeps", "Wake it.", true}), Bound, Locked}),
        "DIRECTORY     DEVICE            TYPE       LABEL    MODE       SIZE       FREE  NOTE\n"
        "/media/C:     /dev/sda2         ntfs       Windows  rw    465.7 GiB  115.0 GiB  it sleeps\n"
        "/mnt/My Disk  /dev/sdb1[/home]  ext4                ro            -          -\n"
        "-             /dev/sda4         BitLocker           -       1.0 GiB          -  encrypted\n"
        "\n"
        "/dev/sda2: Wake it.\n"
        "/dev/sda4: Unlock it.\n");
}

TEST(DriveTable, SaysTheSameRemedyOnce)
{
    const Note note{"no-service", "why", "Start it.", false};
    ListedDrive other = Locked;
    other.mount.device = "/dev/sda5";
    EXPECT_THAT(DriveTable::table({with(Locked, note), Windows, with(other, note)}),
                testing::EndsWith("  why\n\n/dev/sda4, /dev/sda5: Start it.\n"));
}

TEST(DriveTable, HasColoursWhereTheyAreWanted)
{
    const Note trouble{"damaged", "broken", "Mend it.", true};
    EXPECT_EQ(
        DriveTable::table({with(Bound, trouble), Locked}, {true}),
        "\x1b[1mDIRECTORY     DEVICE            TYPE       LABEL  MODE     SIZE  FREE  NOTE\x1b[0m\n"
        "\x1b[33m/mnt/My Disk  /dev/sdb1[/home]  ext4              ro          -     -  broken\x1b[0m\n"
        "\x1b[2m-             /dev/sda4         BitLocker         -     1.0 GiB     -  encrypted\x1b[0m\n"
        "\n"
        "/dev/sdb1: Mend it.\n"
        "/dev/sda4: Unlock it.\n");
}

TEST(DriveTable, CutsLinesToTheWidthOfAScreen)
{
    EXPECT_EQ(DriveTable::table({Locked}, {true, 12}), "\x1b[1mDIRECTORY  D\x1b[0m\n"
                                                       "\x1b[2m-          /\x1b[0m\n"
                                                       "\n"
                                                       "/dev/sda4: U\n");
}

TEST(DriveTable, AlignsNamesByWhatTheyTakeOnAScreen)
{
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    const ListedDrive wide = mounted({1, "/mnt/\xe6\x97\xa5", "d", "/", "t", false, 0}, "l");
    EXPECT_EQ(DriveTable::table({wide}), "DIRECTORY  DEVICE  TYPE  LABEL  MODE  SIZE  FREE  NOTE\n"
                                         "/mnt/\xe6\x97\xa5    d       t     l      rw       -     -\n");
}

TEST(DriveTable, ShowsHostileNamesAsEscapes)
{
    const ListedDrive hostile =
        with(mounted({1, "/mnt/a\nb", "/dev/sda1", "/\x1b", "ext4", false, 0}, "\x1b[2J"),
             {"w", "\x1b", "\n", false});
    EXPECT_EQ(DriveTable::table({hostile}),
              "DIRECTORY    DEVICE            TYPE  LABEL    MODE  SIZE  FREE  NOTE\n"
              "/mnt/a\\x0ab  /dev/sda1[/\\x1b]  ext4  \\x1b[2J  rw       -     -  \\x1b\n"
              "\n"
              "/dev/sda1: \\x0a\n");
}

TEST(DriveTable, GivesScriptsBytesAndTheNamesAsTheyAre)
{
    EXPECT_EQ(DriveTable::json({Windows}), R"([
    {
        "device": "/dev/sda2",
        "directory": "/media/C:",
        "free": 123456789012,
        "label": "Windows",
        "note": null,
        "readOnly": false,
        "reason": null,
        "remedy": null,
        "root": "/",
        "size": 500000000000,
        "type": "ntfs"
    }
]
)");
    EXPECT_EQ(DriveTable::json({Locked}), R"([
    {
        "device": "/dev/sda4",
        "directory": null,
        "free": null,
        "label": "",
        "note": "bitlocker",
        "readOnly": null,
        "reason": "encrypted",
        "remedy": "Unlock it.",
        "root": "/",
        "size": 1073741824,
        "type": "BitLocker"
    }
]
)");
}

TEST(DriveTable, GivesScriptsOneLinePerStateWhereTheyWatch)
{
    const std::string line = DriveTable::json({Bound}, DriveTable::Layout::OneLine);
    EXPECT_EQ(line,
              R"([{"device":"/dev/sdb1","directory":"/mnt/My Disk","free":null,"label":"","note":null,)"
              R"("readOnly":true,"reason":null,"remedy":null,"root":"/home","size":null,"type":"ext4"}])"
              "\n");
}

TEST(DriveTable, GivesScriptsAnEmptyArrayWhenNothingIsMounted)
{
    EXPECT_EQ(DriveTable::json({}), "[\n]\n");
}

TEST(DriveTable, EscapesHostileNamesForScripts)
{
    const ListedDrive hostile = mounted({1, "/mnt/\"\n\x1b", "\xff", "/", "ext4", false, 0}, "\\");
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
