#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "tests/client/Client.h"
#include "tests/client/MountedImages.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/Process.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string NoProvider = "vrmountctl: the provider of devices does not answer: which drives are "
                               "internal, and which get a letter, is not known\n";

using Rows = std::vector<QJsonObject>;

/// The list's objects, in its order.
Rows rowsIn(const std::string& json)
{
    Rows rows;
    for (const QJsonValue value : QJsonDocument::fromJson(QByteArray::fromStdString(json)).array()) {
        rows.push_back(value.toObject());
    }
    return rows;
}

Rows listed()
{
    const ClientResult result = run({"list", "--json"});
    EXPECT_EQ(result.status, 0) << result.complaint;
    return rowsIn(result.output);
}

std::string text(const QJsonObject& row, const char* name)
{
    return row.value(QLatin1String(name)).toString().toStdString();
}

std::vector<std::string> column(const Rows& rows, const char* name)
{
    std::vector<std::string> result;
    for (const QJsonObject& row : rows) {
        result.push_back(text(row, name));
    }
    return result;
}

bool isReadOnly(const QJsonObject& row)
{
    return row.value(QLatin1String("readOnly")).toBool();
}

bool hasSpace(const QJsonObject& row)
{
    return !row.value(QLatin1String("size")).isNull() && !row.value(QLatin1String("free")).isNull();
}

class DriveListTest : public MountedImagesTest
{
protected:
    void mountExt4(const std::string& directory, const std::string& options = "loop")
    {
        mount({"-o", options, Images::ext4("ext4", "My Disk")}, directory);
    }
    void mountNtfs(const std::string& directory)
    {
        mount({"-t", "ntfs-3g", "-o", "loop", Images::ntfs("ntfs", "Windows", {"sub/"})}, directory);
    }
};

TEST_F(DriveListTest, ShowsTheKernelsViewOfEachMount)
{
    mountNtfs("/media/C:");
    mountExt4("/mnt/My Disk", "loop,ro");
    const Rows rows = listed();
    ASSERT_THAT(column(rows, "directory"), ElementsAre("/media/C:", "/mnt/My Disk"));
    EXPECT_THAT(column(rows, "device"),
                ElementsAre(KernelMounts::sourceAt("/media/C:"), KernelMounts::sourceAt("/mnt/My Disk")));
    EXPECT_THAT(column(rows, "type"), ElementsAre("ntfs", "ext4"));
    EXPECT_THAT(column(rows, "label"), ElementsAre("Windows", "My Disk"));
    EXPECT_FALSE(isReadOnly(rows[0]));
    EXPECT_TRUE(isReadOnly(rows[1]));
}

TEST_F(DriveListTest, CountsSizesAsTheFileSystemDoes)
{
    mountExt4("/mnt/disk");
    const Rows rows = listed();
    ASSERT_EQ(rows.size(), 1U);
    struct statvfs figures = {};
    ASSERT_EQ(statvfs("/mnt/disk", &figures), 0);
    EXPECT_EQ(rows[0].value(QLatin1String("size")).toDouble(),
              static_cast<double>(figures.f_blocks * figures.f_frsize));
    EXPECT_EQ(rows[0].value(QLatin1String("free")).toDouble(),
              static_cast<double>(figures.f_bavail * figures.f_frsize));
}

TEST_F(DriveListTest, IsATableForPeople)
{
    mountExt4("/mnt/My Disk", "loop,ro");
    const ClientResult result = run({"list"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, testing::StartsWith("DIRECTORY     DEVICE      TYPE  LABEL    MODE "));
    EXPECT_THAT(result.output, HasSubstr("\n/mnt/My Disk  " + KernelMounts::sourceAt("/mnt/My Disk") +
                                         "  ext4  My Disk  ro "));
    EXPECT_THAT(result.output, HasSubstr(" MiB  "));
}

TEST_F(DriveListTest, AlignsNamesInAnyScript)
{
    mountExt4("/mnt/\xe6\x97\xa5");
    EXPECT_THAT(run({"list"}).output, testing::StartsWith("DIRECTORY  DEVICE "));
    EXPECT_THAT(run({"list"}).output, HasSubstr("\n/mnt/\xe6\x97\xa5    /dev/loop"));
}

TEST_F(DriveListTest, DistinguishesABindMountFromItsDevice)
{
    mountNtfs("/media/C:");
    mount({"--bind", "/media/C:/sub"}, "/mnt/bound");
    const Rows rows = listed();
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(text(rows[1], "directory"), "/mnt/bound");
    EXPECT_EQ(text(rows[1], "device"), text(rows[0], "device"));
    EXPECT_EQ(text(rows[1], "root"), "/sub");
    EXPECT_THAT(run({"list"}).output, HasSubstr(text(rows[0], "device") + "[/sub]"));
}

TEST_F(DriveListTest, GivesNoSizesOfOneMountForAnotherThatItHides)
{
    mountExt4("/mnt/disk");
    mount({"-t", "tmpfs", "-o", "size=64k", "tmpfs"}, "/mnt/disk");
    const Rows rows = listed();
    ASSERT_THAT(column(rows, "type"), ElementsAre("ext4", "tmpfs"));
    EXPECT_FALSE(hasSpace(rows[0]));
    EXPECT_EQ(rows[1].value(QLatin1String("size")).toInt(), 65536);
}

TEST_F(DriveListTest, ShowsANamelessMediumThatLiesOverARoot)
{
    mountExt4("/media");
    mount({"--bind", "/mnt"}, "/mnt");
    EXPECT_THAT(column(listed(), "directory"), ElementsAre("/media"));
}

TEST_F(DriveListTest, DoesNotWaitForADriverThatHangs)
{
    mountNtfs("/media/C:");
    mountExt4("/mnt/disk");
    ASSERT_EQ(kill(ntfsDriver(), SIGSTOP), 0);
    const auto start = std::chrono::steady_clock::now();
    const Rows rows = listed();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(kill(ntfsDriver(), SIGCONT), 0);
    ASSERT_THAT(column(rows, "label"), ElementsAre("Windows", "My Disk"));
    EXPECT_FALSE(hasSpace(rows[0]));
    EXPECT_TRUE(hasSpace(rows[1]));
}

TEST_F(DriveListTest, DoesNotLookForAnImageThatLiesOnADriveThatHangs)
{
    mountNtfs("/media/C:");
    const pid_t outer = ntfsDriver();
    std::ofstream("/media/C:/inner").flush();
    fs::resize_file("/media/C:/inner", std::uintmax_t{2} << 20U);
    ASSERT_EQ(runProgram({"mkfs.ntfs", "-F", "-Q", "-q", "/media/C:/inner"}).status, 0);
    mount({"-t", "ntfs-3g", "/media/C:/inner"}, "/mnt/inner");
    ASSERT_EQ(KernelMounts::sourceAt("/mnt/inner"), "/media/C:/inner");
    ASSERT_EQ(kill(outer, SIGSTOP), 0);
    const auto start = std::chrono::steady_clock::now();
    const Rows rows = listed();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(kill(outer, SIGCONT), 0);
    EXPECT_THAT(column(rows, "directory"), ElementsAre("/media/C:", "/mnt/inner"));
    EXPECT_THAT(column(rows, "label"), ElementsAre("Windows", ""));
}

TEST_F(DriveListTest, ShowsADeadMountWithoutSizes)
{
    mountNtfs("/media/C:");
    ASSERT_EQ(kill(ntfsDriver(), SIGKILL), 0);
    const Rows rows = listed();
    ASSERT_THAT(column(rows, "label"), ElementsAre("Windows"));
    EXPECT_FALSE(hasSpace(rows[0]));
}

TEST_F(DriveListTest, WorksForAnOrdinaryUser)
{
    mountExt4("/mnt/disk");
    // The checkout may be where only root gets to.
    fs::copy_file(VRMOUNTCTL, "/tmp/vrmountctl", fs::copy_options::overwrite_existing);
    std::vector<std::string> asNobody{"setpriv",         "--reuid=65534", "--regid=65534", "--clear-groups",
                                      "/tmp/vrmountctl", "list",          "--json"};
    EXPECT_THAT(runProgram(asNobody).output, HasSubstr("vrmountctl: only root may ask the disks themselves"));
    asNobody.insert(asNobody.begin(), {"sh", "-c", "exec \"$@\" 2>/dev/null", "sh"});
    ASSERT_EQ(chmod("/mnt/disk", S_IRWXU), 0); // NTFS may be mounted so
    Rows rows = rowsIn(runProgram(asNobody).output);
    ASSERT_THAT(column(rows, "directory"), ElementsAre("/mnt/disk"));
    EXPECT_THAT(column(rows, "label"), ElementsAre("")); // it may not read the device
    EXPECT_TRUE(hasSpace(rows[0]));

    fs::create_directories("/dev/disk/by-label");
    fs::create_symlink("/nowhere", "/dev/disk/by-label/dangling");
    fs::create_symlink(KernelMounts::sourceAt("/mnt/disk"), "/dev/disk/by-label/My\\x20Disk");
    rows = rowsIn(runProgram(asNobody).output);
    EXPECT_THAT(column(rows, "label"), ElementsAre("My Disk"));
    fs::remove_all("/dev/disk");
}

TEST_F(DriveListTest, SaysThatThereAreNoDrives)
{
    EXPECT_EQ(run({"list"}), (ClientResult{0, "", NoProvider + "vrmountctl: there are no drives\n"}));
    EXPECT_EQ(run({"list", "--json"}), (ClientResult{0, "[\n]\n", NoProvider}));
}

TEST_F(DriveListTest, SaysThatItCannotStartAProcess)
{
    mountExt4("/mnt/disk");
    fs::copy_file(VRMOUNTCTL, "/tmp/vrmountctl", fs::copy_options::overwrite_existing);
    std::vector<std::string> command{"setpriv", "--reuid=65534", "--regid=65534",   "--clear-groups",
                                     "prlimit", "--nproc=0",     "/tmp/vrmountctl", "list"};
    ProcessResult result = runProgram(command);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vrmountctl: System exception: no process can be started\n");

    command.back() = "send";
    command.emplace_back("x");
    result = runProgram(command);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output,
              "vrmountctl: cannot reach the service at /tmp/vrmount: System exception: no process "
              "can be started\n");
}

TEST_F(DriveListTest, SaysWhyThereIsNone)
{
    // A device node without a device cannot be opened.
    ASSERT_EQ(mknod("/tmp/none", S_IFCHR | S_IRUSR, makedev(0, 99)), 0);
    const std::string script = "mount --bind /tmp/none /proc/$$/mountinfo && exec \"$0\" list";
    const ProcessResult result = runProgram({"unshare", "--mount", "sh", "-c", script, VRMOUNTCTL});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vrmountctl: cannot read /proc/self/mountinfo: No such device or address\n");
}

TEST_F(DriveListTest, LeavesTheServicesLogAlone)
{
    run({"list"});
    EXPECT_EQ(run({"remount", "/media/C:", "ro"}).status, 3);
    EXPECT_FALSE(fs::exists("/var/log/vorna"));
}

} // namespace
