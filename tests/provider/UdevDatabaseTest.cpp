#include <fstream>

#include <gtest/gtest.h>

#include <sys/sysmacros.h>

#include "provider/UdevDatabase.h"
#include "tests/support/TemporaryDirectory.h"

using Knowledge = UdevDatabase::Knowledge;

TEST(UdevDatabaseTest, TellsHowMuchIsKnownOfADevice)
{
    const TemporaryDirectory directory;
    const UdevDatabase udev(directory.path());
    const struct
    {
        const char* entry;
        Knowledge known;
    } table[] = {
        {"", Knowledge::Nothing},
        {"S:disk/by-id/ata-Acme\nL:0\nE:ID_VENDOR=I:1\n", Knowledge::Nothing},
        {"S:disk/by-id/ata-Acme\nI:4711\nE:ID_VENDOR=Acme\n", Knowledge::Device},
        {"I:4711\nE:ID_FS_TYPE=ntfs\nE:ID_FS_USAGE=filesystem\n", Knowledge::Content},
        {"I:4711\nE:ID_PART_TABLE_TYPE=gpt\n", Knowledge::Content},
    };
    EXPECT_EQ(udev.knowledgeOf(makedev(8, 17)), Knowledge::Nothing);
    for (const auto& row : table) {
        std::ofstream(directory.path() + "/b8:17") << row.entry;
        EXPECT_EQ(udev.knowledgeOf(makedev(8, 17)), row.known) << row.entry;
        EXPECT_EQ(udev.knowledgeOf(makedev(8, 1)), Knowledge::Nothing);
    }
}
