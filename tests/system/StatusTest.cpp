#include <csignal>
#include <filesystem>
#include <utility>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/WaitFor.h"
#include "tests/system/Listing.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using Listing::client;
using testing::ContainsRegex;

namespace {

void writeMap(const std::string& text)
{
    fs::create_directories("/mounts/windows/Programs/Vorna");
    Files::write("/mounts/windows/Programs/Vorna/drives.ini", text);
}

} // namespace

/// `vrmountctl status`, which leaves the service alone.
class StatusTest : public MachineTest
{
protected:
    static void expectStatus(int status, const std::string& line)
    {
        const ProcessResult result = client({"status"});
        EXPECT_EQ(result.status, status) << result.output;
        EXPECT_THAT(result.output, ContainsRegex(line));
    }
};

TEST_F(StatusTest, SaysSinceWhenTheServiceRunsAndWhereItsLettersComeFrom)
{
    writeMap("; Written by a program.\n[Disk0]\nPartition1=C:\\;D:\\\n");
    fs::create_directories("/mounts/another/Programs/Vorna");
    machine.addInternal("sda1", Images::ext4("linux", "Linux"));
    start();
    const std::string running =
        "service  runs since 20[0-9-]+ [0-9:]+ as process " + std::to_string(service().id()) + "\n";
    expectStatus(0, running +
                        "drives   1 mounted, 0 not\n"
                        "map      /mounts/windows/Programs/Vorna/drives.ini .Written by a program.*\n$");
    EXPECT_TRUE(service().isRunning());

    writeMap("[Disk0]\n");
    expectStatus(0, "map      one that is no longer below /mounts .Written by a program");
    machine.freezeUDisks();
    expectStatus(1, "trouble  the provider of devices does not answer\n");
    machine.thawUDisks();
    stop();
    expectStatus(3, "service  does not run\n");
    Files::write("/var/run/vrmountdrives.pid", "1");
    expectStatus(1, "service  does not run, but has left /var/run/vrmountdrives.pid\n");
}

TEST_F(StatusTest, ShowsNoSignatureWhereAMapHasNone)
{
    writeMap("[Disk0]\nPartition1=C:\n");
    machine.addInternal("sda1", Images::ext4("linux", "Linux"));
    start();
    expectStatus(0, "map      /mounts/windows/Programs/Vorna/drives.ini\n$");
    stop();
}

TEST_F(StatusTest, TakesNoServiceElsewhereForItsOwn)
{
    const std::string program = "/tmp/vrmountdrives";
    fs::copy_file("/bin/sleep", program);
    for (const auto& [command, status] :
         {std::pair(program, 1), std::pair("unshare --mount " + program, 3)}) {
        Process other({"sh", "-c", "exec " + command + " 60"});
        ASSERT_TRUE(other.becomes("vrmountdrives")) << command;
        expectStatus(status, "service  ");
        other.send(SIGKILL);
        other.waitForEnd();
    }
}

TEST_F(StatusTest, KnowsThatAMapOfAnEarlierStartDoesNotCount)
{
    Files::write("/tmp/drives.ini", "[Disk0]\nPartition1=C:\n");
    fs::last_write_time("/tmp/drives.ini", fs::file_time_type::clock::now() - std::chrono::hours(1));
    machine.addInternal("sda1", Images::ntfs("windows", "Windows"));
    start();
    expectStatus(0, "map      none was found at the start: letters in the order of the disks\n");
    stop();
}
