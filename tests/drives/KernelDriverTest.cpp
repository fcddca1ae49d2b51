#include <cerrno>

#include <gmock/gmock.h>

#include "drives/KernelDriver.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class KernelDriverTest : public testing::Test
{
protected:
    KernelDriverTest() { KernelDoor::reset(); }

    static bool mount(const char* type)
    {
        return KernelDriver::mount(QStringLiteral("/dev/sdb1"), QStringLiteral("/media/A"),
                                   QString::fromLatin1(type));
    }
    static std::string remount(const char* options)
    {
        return KernelDriver::remount(QStringLiteral("/dev/sda1"), QStringLiteral("/media/D:"),
                                     QString::fromLatin1(options))
            .toStdString();
    }
};

TEST_F(KernelDriverTest, WritesTheMountAsACommandThenMakesTheCall)
{
    EXPECT_TRUE(mount("vfat"));
    EXPECT_TRUE(mount("ext4"));
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("mount(/dev/sdb1, /media/A, vfat, 0x0, utf8)",
                                                 "mount(/dev/sdb1, /media/A, ext4, 0x0, )"));
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("\"mount -tvfat /dev/sdb1 /media/A utf8\" ",
                                                   "\"mount -text4 /dev/sdb1 /media/A \" "));
}

TEST_F(KernelDriverTest, ReportsAFailedMount)
{
    KernelDoor::answer("mount(", -1, ENODEV);
    LogWatch::expect("\"ERROR mount: No such device\" ");
    EXPECT_FALSE(mount("vfat"));
}

struct RemountRow
{
    const char* options;
    const char* flagsAndData;
};

TEST_F(KernelDriverTest, RemountsInPlaceAndWritesNothing)
{
    for (const RemountRow& row : {RemountRow{"rw", "0xc0ed0020, -orw"},
                                  {"ro", "0xc0ed0021, -oauto"},
                                  {"errors=remount-ro", "0xc0ed0021, -oerautors=remount-auto"},
                                  {"", "0xc0ed0020, "}}) {
        KernelDoor::reset();
        EXPECT_EQ(remount(row.options),
                  std::string("DONE remount: [/media/D:] with options: [") + row.options + "]");
        EXPECT_THAT(KernelDoor::calls(),
                    ElementsAre(std::string("mount(/dev/sda1, /media/D:, NULL, ") + row.flagsAndData + ")"));
    }
    EXPECT_THAT(LogWatch::raw(), IsEmpty());
}

TEST_F(KernelDriverTest, ReportsAndReturnsAFailedRemount)
{
    KernelDoor::answer("mount(", -1, EINVAL);
    LogWatch::expect("\"ERROR remount: [/media/D:] with error: Invalid argument\" ");
    EXPECT_EQ(remount("rw"), "ERROR remount: [/media/D:] with error: Invalid argument");
}

} // namespace
