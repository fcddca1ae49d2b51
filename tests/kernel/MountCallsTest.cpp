#include <cerrno>

#include <gmock/gmock.h>

#include "kernel/MountCalls.h"
#include "tests/support/KernelDoor.h"

using testing::ElementsAre;

namespace {

class MountCallsTest : public testing::Test
{
protected:
    MountCallsTest() { KernelDoor::reset(); }
};

TEST_F(MountCallsTest, PassExactlyTheirArguments)
{
    MountCalls::mountDevice(QStringLiteral("/dev/sdb1"), QStringLiteral("/media/A"), QStringLiteral("vfat"),
                            QStringLiteral("utf8"));
    MountCalls::mountDevice(QStringLiteral("/dev/sda2"), QStringLiteral("/mnt/sda2"), QStringLiteral("ext4"),
                            QString());
    MountCalls::moveMount(QStringLiteral("/mnt/sda1"), QStringLiteral("/media/C:"));
    MountCalls::remount(QStringLiteral("/dev/sda1"), QStringLiteral("/media/C:"), 0xC0ED0021,
                        QStringLiteral("-oauto"));
    MountCalls::unmount(QStringLiteral("/media/C:"));
    MountCalls::forceUnmount(QStringLiteral("/media/A"));
    MountCalls::detach(QStringLiteral("/media/A"));
    MountCalls::markUnused(QStringLiteral("/media/A"));
    MountCalls::run(ShellCommand(QStringLiteral("ntfsfix %1"), QStringLiteral("/dev/sda1")));
    EXPECT_THAT(KernelDoor::calls(),
                ElementsAre("mount(/dev/sdb1, /media/A, vfat, 0x0, utf8)",
                            "mount(/dev/sda2, /mnt/sda2, ext4, 0x0, )",
                            "mount(/mnt/sda1, /media/C:, NULL, 0x2000, NULL)",
                            "mount(/dev/sda1, /media/C:, NULL, 0xc0ed0021, -oauto)", "umount(/media/C:)",
                            "umount2(/media/A, 1)", "umount2(/media/A, 2)", "umount2(/media/A, 4)",
                            "system(ntfsfix /dev/sda1)"));
}

TEST_F(MountCallsTest, PassTheBytesOfTheFileNameEncoding)
{
    MountCalls::unmount(QString::fromUtf8("/media/M\xc3\xbcsli"));
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("umount(/media/M\xc3\xbcsli)"));
}

TEST_F(MountCallsTest, HandBackTheErrorOfTheCall)
{
    KernelDoor::answer("umount(", -1, EBUSY);
    const MountCalls::Outcome outcome = MountCalls::unmount(QStringLiteral("/media/A"));
    EXPECT_FALSE(outcome.succeeded());
    errno = 0;
    EXPECT_EQ(outcome.errorText(), QStringLiteral("Device or resource busy"));
}

TEST_F(MountCallsTest, WriteOutDirectoriesOnly)
{
    EXPECT_TRUE(MountCalls::writeOut(QStringLiteral("/")).succeeded());
    EXPECT_EQ(MountCalls::writeOut(QStringLiteral("/nowhere")).error, ENOENT);
    EXPECT_EQ(MountCalls::writeOut(QStringLiteral("/dev/null")).error, ENOTDIR);
}

TEST_F(MountCallsTest, HandBackTheRawWaitStatus)
{
    KernelDoor::answer("system(", 0x100);
    EXPECT_EQ(MountCalls::run(ShellCommand(QStringLiteral("%1"), QStringLiteral("x"))).value, 0x100);
}

} // namespace
