#include "kernel/BlockNodes.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "tests/support/TemporaryDirectory.h"

namespace fs = std::filesystem;

TEST(BlockNodesTest, AreListedInNaturalOrderAndNothingElseIs)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may make device nodes";
    }
    const TemporaryDirectory directory;
    const std::string& at = directory.path();
    fs::create_directory(at + "/below");
    std::ofstream(at + "/file").flush();
    ASSERT_EQ(mknod((at + "/tty").c_str(), S_IFCHR, makedev(8, 1)), 0);
    for (const auto& [name, minor] : {std::pair("sda10", 10U), {"sda2", 2U}, {"below/sda1", 1U}}) {
        ASSERT_EQ(mknod((at + '/' + name).c_str(), S_IFBLK, makedev(8, minor)), 0);
    }
    fs::create_symlink("sda2", at + "/link");

    const std::vector<BlockNode> nodes = BlockNodes::in(at);
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_EQ(nodes[0].path, at + "/sda2");
    EXPECT_EQ(nodes[0].number, makedev(8, 2));
    EXPECT_EQ(nodes[1].path, at + "/sda10");
    EXPECT_EQ(BlockNodes::numberOf(at + "/link"), makedev(8, 2));
    for (const char* other : {"/tty", "/file", "/nothing"}) {
        EXPECT_EQ(BlockNodes::numberOf(at + other), 0U) << other;
    }
    EXPECT_TRUE(BlockNodes::in(at + "/nothing").empty());
}
