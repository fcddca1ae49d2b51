#include <fstream>
#include <sstream>

#include "tests/client/MountedImages.h"
#include "tests/support/Process.h"

namespace {

using testing::ElementsAre;
using testing::IsSupersetOf;

constexpr int LibraryMissing = 77;

class CompletionTest : public MountedImagesTest
{
protected:
    void SetUp() override
    {
        MountedImagesTest::SetUp();
        if (!IsSkipped() && runProgram({COMPLETE, "vrmountctl", ""}).status == LibraryMissing) {
            GTEST_SKIP() << "bash-completion is not installed";
        }
    }

    /// The completions that bash offers after these words of a command line.
    static std::vector<std::string> offered(std::vector<std::string> words)
    {
        words.insert(words.begin(), {COMPLETE, "vrmountctl"});
        const ProcessResult result = runProgram(words);
        EXPECT_EQ(result.status, 0) << result.output;
        std::vector<std::string> lines;
        std::istringstream stream(result.output);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines;
    }
};

TEST_F(CompletionTest, OffersCommandsAndOptions)
{
    EXPECT_THAT(offered({""}), ElementsAre("remount", "send", "list", "eject", "status"));
    EXPECT_THAT(offered({"--timeout", "5", "re"}), ElementsAre("remount"));
    EXPECT_THAT(offered({"--"}), ElementsAre("--socket", "--timeout", "--help", "--version"));
    EXPECT_THAT(offered({"list", "--"}), ElementsAre("--json", "--watch"));
    EXPECT_THAT(offered({"send", ""}), ElementsAre());
    EXPECT_THAT(offered({"--timeout", ""}), ElementsAre());
    EXPECT_THAT(offered({"--timeout="}), ElementsAre());
    EXPECT_THAT(offered({"--timeout=5", "re"}), ElementsAre("remount"));
    EXPECT_THAT(offered({"--socket=/tmp/x", "li"}), ElementsAre("list"));
    EXPECT_THAT(offered({"--timeout=5", "list", "--"}), ElementsAre("--json", "--watch"));
}

TEST_F(CompletionTest, OffersFilesForTheSocket)
{
    std::ofstream("/tmp/socket-here").flush();
    EXPECT_THAT(offered({"--socket", "/tmp/socket-h"}), ElementsAre("/tmp/socket-here"));
    EXPECT_THAT(offered({"--socket=/tmp/socket-h"}), ElementsAre("/tmp/socket-here"));
    EXPECT_THAT(offered({"--socket=/nowhere/x"}), ElementsAre());
}

TEST_F(CompletionTest, OffersMountedDirectoriesForARemount)
{
    mount({"-t", "tmpfs", "tmpfs"}, "/media/C:");
    mount({"-t", "tmpfs", "tmpfs"}, "/media/D:");
    mount({"-t", "tmpfs", "tmpfs"}, "/mnt/$(touch hacked) Disk");
    mount({"-t", "tmpfs", "tmpfs"}, "/media/a=b");
    mount({"-t", "tmpfs", "tmpfs"}, "/media/a|b");
    const std::string quoted = "/mnt/\\$\\(touch\\ hacked\\)\\ Disk";
    EXPECT_THAT(offered({"remount", ""}), ElementsAre("/media/C:", "/media/D:", quoted));
    EXPECT_THAT(offered({"remount", "/media/D"}), ElementsAre("/media/D:"));
    EXPECT_THAT(offered({"remount", "/mnt/\\$\\(touch\\ h"}), ElementsAre(quoted));
    EXPECT_THAT(offered({"remount", "'/mnt/$("}), ElementsAre("/mnt/$(touch hacked) Disk"));
    EXPECT_THAT(offered({"remount", "\"/mnt/"}), ElementsAre()); // inside these quotes it would be expanded
    // Behind a colon readline completes only what follows it.
    EXPECT_THAT(offered({"remount", "/media/C:"}), ElementsAre(""));
}

TEST_F(CompletionTest, OffersDirectoriesAndDevicesOfSticks)
{
    mount({"-t", "tmpfs", "tmpfs"}, "/media/a=b");
    mount({"-t", "tmpfs", "tmpfs"}, "/media/a=b/deep");
    mount({"-t", "tmpfs", "/dev/sdb1"}, "/media/MY STICK");
    mount({"-t", "tmpfs", "tmpfs"}, "/mnt/sda1");
    EXPECT_THAT(offered({"eject", "/media/MY"}), ElementsAre("/media/MY\\ STICK"));
    EXPECT_THAT(offered({"eject", "/dev/"}), ElementsAre("/dev/sdb1"));
    EXPECT_THAT(offered({"eject", "/mnt/"}), ElementsAre());
    EXPECT_THAT(offered({"eject", "/media/MY STICK", ""}), ElementsAre());
}

TEST_F(CompletionTest, OffersMountOptionsOneByOne)
{
    EXPECT_THAT(offered({"remount", "/media/C:", ""}), IsSupersetOf({"ro", "rw", "ignore_case"}));
    EXPECT_THAT(offered({"remount", "/media/C:", "ro,ig"}), ElementsAre("ro,ignore_case"));
    EXPECT_THAT(offered({"remount", "/media/C:", "ro", ""}), ElementsAre());
}

} // namespace
