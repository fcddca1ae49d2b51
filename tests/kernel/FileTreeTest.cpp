#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>

#include "kernel/Descriptor.h"
#include "kernel/FileTree.h"
#include "kernel/MountTable.h"
#include "tests/support/TemporaryDirectory.h"

namespace fs = std::filesystem;

namespace {

class FileTreeTest : public testing::Test
{
protected:
    QByteArray path(const char* name) const { return directory.path().c_str() + QByteArray("/") + name; }
    void write(const char* name, const char* content) const { std::ofstream(path(name).data()) << content; }

    TemporaryDirectory directory;
};

} // namespace

TEST_F(FileTreeTest, MakesOneDirectoryWhereNothingIs)
{
    const mode_t mask = umask(022);
    EXPECT_TRUE(FileTree::makeDirectory(path("open")));
    EXPECT_TRUE(FileTree::makeDirectory(path("closed"), 0700));
    umask(mask);
    EXPECT_EQ(fs::status(path("open").data()).permissions(), fs::perms(0755));
    EXPECT_EQ(fs::status(path("closed").data()).permissions(), fs::perms(0700));
    EXPECT_FALSE(FileTree::makeDirectory(path("open")));
    EXPECT_FALSE(FileTree::makeDirectory(path("none/below")));
    EXPECT_FALSE(FileTree::makeDirectory(QByteArray()));
}

TEST_F(FileTreeTest, RemovesEmptyDirectoriesOnly)
{
    FileTree::makeDirectory(path("full"));
    write("full/file", "kept");
    EXPECT_FALSE(FileTree::removeDirectory(path("full")));
    EXPECT_FALSE(FileTree::removeDirectory(path("full/file")));
    fs::remove(path("full/file").data());
    EXPECT_TRUE(FileTree::removeDirectory(path("full")));
    EXPECT_FALSE(FileTree::removeDirectory(path("full")));
}

TEST_F(FileTreeTest, RenamesOverWhatIsThere)
{
    write("from", "longer");
    write("to", "old");
    EXPECT_TRUE(FileTree::rename(path("from"), path("to")));
    EXPECT_EQ(fs::file_size(path("to").data()), 6U);
    EXPECT_FALSE(FileTree::rename(path("from"), path("to")));
}

TEST_F(FileTreeTest, LooksAtAPlaceByItsPathAndByItsDescriptor)
{
    FileTree::makeDirectory(path("a"));
    FileTree::makeDirectory(path("b"));
    const auto place = FileTree::look(path("a"));
    ASSERT_TRUE(place);
    EXPECT_EQ(FileTree::look(path("./a"))->identity, place->identity);
    EXPECT_NE(FileTree::look(path("b"))->identity, place->identity);
    EXPECT_FALSE(place->isMountRoot);
    const Descriptor opened = openFile(path("a").toStdString(), O_PATH);
    EXPECT_EQ(FileTree::look(opened.get())->identity, place->identity);
    EXPECT_EQ(FileTree::look(opened.get())->mountId, place->mountId);
    EXPECT_FALSE(FileTree::look(path("none")));
    EXPECT_FALSE(FileTree::look(-1));
}

TEST_F(FileTreeTest, KnowsAMountByItsIdInTheTable)
{
    const auto place = FileTree::look("/proc");
    ASSERT_TRUE(place);
    EXPECT_TRUE(place->isMountRoot);
    MountTable table;
    const Mount* mount = MountInfo::holding("/proc", table.read());
    ASSERT_NE(mount, nullptr);
    EXPECT_EQ(place->mountId, static_cast<std::uint64_t>(mount->id));
}

TEST_F(FileTreeTest, ReadsTheMountOfAnOpenFile)
{
    write("file", "");
    const Descriptor file(open(path("file").constData(), O_PATH | O_CLOEXEC));
    ASSERT_TRUE(file.isOpen());
    const auto place = FileTree::look(file.get());
    ASSERT_TRUE(place);
    EXPECT_EQ(FileTree::mountIdIn("/proc/self/fdinfo/" + std::to_string(file.get())), place->mountId);
}

TEST_F(FileTreeTest, KnowsNoMountOfAFileThatTheKernelDoesNotDescribe)
{
    write("without", "pos:\t0\nflags:\t02\n");
    write("damaged", "mnt_id:\tnone\n");
    EXPECT_EQ(FileTree::mountIdIn(path("without").toStdString()), 0U);
    EXPECT_EQ(FileTree::mountIdIn(path("damaged").toStdString()), 0U);
    EXPECT_EQ(FileTree::mountIdIn(path("none").toStdString()), 0U);
}
