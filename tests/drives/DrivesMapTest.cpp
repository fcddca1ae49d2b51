#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/resource.h>

#include <gmock/gmock.h>

#include <QFile>

#include "drives/DrivesMap.h"
#include "tests/support/TemporaryDirectory.h"

namespace fs = std::filesystem;

namespace {

/// As long as it lives, this process writes no file beyond `bytes`.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
        : _handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &_before);
        const rlimit lower = {bytes, _before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lower);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &_before);
        std::signal(SIGXFSZ, _handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*_handler)(int);
    rlimit _before = {};
};

class DrivesMapTest : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return directory.path() + "/" + name; }
    void write(const std::string& name, const std::string& content = "x") const
    {
        fs::create_directories(fs::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << content;
    }
    std::string found() const
    {
        return DrivesMap::find(QString::fromStdString(directory.path())).toStdString();
    }
    QByteArray read(const std::string& name) const
    {
        return DrivesMap::read(QString::fromStdString(path(name)));
    }
    QByteArray bytes(const std::string& name) const
    {
        QFile file(QString::fromStdString(path(name)));
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }

    TemporaryDirectory directory;
};

TEST_F(DrivesMapTest, IsFoundInAProgramDirectoryOfAnyCaseAtAnyDepthBelowVorna)
{
    for (const char* name : {"sda1/Program Files/Vorna/drives.ini", "sda1/PROGRA~1/Vorna/drives.ini",
                             "sda1/programme/Vorna/a/b/drives.ini", "sda1/Prog/Vorna/drives.ini"}) {
        write(name);
        EXPECT_EQ(found(), path(name));
        fs::remove_all(path("sda1"));
    }
}

TEST_F(DrivesMapTest, IsNotTakenFromAnywhereElse)
{
    for (const char* name : {"sda1/Program Files/Vorna/Drives.ini", "sda1/Program Files/vorna/drives.ini",
                             "sda1/Program Files/drives.ini", "sda1/My Programs/Vorna/drives.ini",
                             "Program Files/Vorna/drives.ini", "sda1/Program Files/Vorna/drives.ini/other",
                             ".sda1/Program Files/Vorna/drives.ini"}) {
        write(name);
    }
    EXPECT_EQ(found(), "");
}

TEST_F(DrivesMapTest, IsTheFirstOneByTheNameOfTheMountAndOfTheProgramDirectory)
{
    write("b/Program Files/Vorna/drives.ini");
    write("a/Programs/Vorna/drives.ini");
    write("a/Program Files/Vorna/none.ini");
    EXPECT_EQ(found(), path("a/Programs/Vorna/drives.ini"));
}

TEST_F(DrivesMapTest, IsNeverReachedThroughALink)
{
    write("elsewhere/Vorna/drives.ini");
    fs::create_directories(path("m/sda1/Program Files"));
    fs::create_directory_symlink(path("elsewhere/Vorna"), path("m/sda1/Program Files/Vorna"));
    fs::create_directory_symlink(path("elsewhere"), path("m/sda1/Programs"));
    fs::create_directories(path("m/sda2/Program Files/Vorna"));
    fs::create_symlink(path("elsewhere/Vorna/drives.ini"), path("m/sda2/Program Files/Vorna/drives.ini"));
    EXPECT_EQ(DrivesMap::find(QString::fromStdString(path("m"))), QString());
}

TEST_F(DrivesMapTest, IsNotFoundWhereThereAreNoMounts)
{
    EXPECT_EQ(DrivesMap::find(QString::fromStdString(path("missing"))), QString());
}

TEST_F(DrivesMapTest, IsReadWithoutItsBackslashes)
{
    write("drives.ini", "Partition1=[0000002A]C:\\;D:\\\r\n\\");
    EXPECT_EQ(read("drives.ini"), QByteArray("Partition1=[0000002A]C:;D:\r\n"));
}

TEST_F(DrivesMapTest, IsEmptyWhenItCannotBeRead)
{
    EXPECT_EQ(read("missing"), QByteArray());
    EXPECT_EQ(read("."), QByteArray());
}

struct SizeRow
{
    std::size_t size; ///< of the file
    std::size_t backslashes;
    bool isMap;
};

TEST_F(DrivesMapTest, IsEmptyWhenItsFileIsTooLargeForAMapWhateverTheBackslashes)
{
    constexpr std::size_t Limit = 4194304;
    for (const SizeRow& row : {SizeRow{Limit - 1, 0, true},
                               {Limit, 0, true},
                               {Limit, 1, true},
                               {Limit, Limit / 2, true},
                               {Limit + 1, 0, false},
                               {Limit + 1, 1, false},
                               {Limit + 1, Limit + 1, false},
                               {Limit * 3 / 2, 1, false},
                               {Limit * 2, Limit + 1, false}}) {
        write("map", std::string(row.backslashes, '\\') + std::string(row.size - row.backslashes, 'x'));
        const std::size_t left = row.isMap ? row.size - row.backslashes : 0;
        EXPECT_EQ(read("map"), QByteArray(static_cast<int>(left), 'x')) << row.size << " " << row.backslashes;
    }
}

TEST_F(DrivesMapTest, IsEmptyWhenItCarriesSerialisedObjects)
{
    for (const char* value : {"@Variant(xyz)", "@Va\"\"ri\\ant(xyz)", "@DateTime(xyz)"}) {
        write("drives.ini", std::string("[d]\nPartition1=") + value);
        EXPECT_EQ(read("drives.ini"), QByteArray()) << value;
    }
}

TEST_F(DrivesMapTest, ReplacesAnEarlierCopy)
{
    write("copy", "a longer earlier copy");
    DrivesMap::replace(QString::fromStdString(path("copy")), "new");
    EXPECT_EQ(bytes("copy"), QByteArray("new"));
    EXPECT_EQ(std::distance(fs::directory_iterator(directory.path()), fs::directory_iterator()), 1);
}

TEST_F(DrivesMapTest, MayBeReadByEveryoneInItsCopy)
{
    DrivesMap::replace(QString::fromStdString(path("copy")), "new");
    EXPECT_EQ(fs::status(path("copy")).permissions(), fs::perms(0644));
}

TEST_F(DrivesMapTest, LeavesTheEarlierCopyWhenItCannotBeWrittenAsAWhole)
{
    write("copy", "earlier");
    {
        const FileSizeLimit nearlyFull(2);
        DrivesMap::replace(QString::fromStdString(path("copy")), "new");
    }
    EXPECT_EQ(bytes("copy"), QByteArray("earlier"));
    EXPECT_EQ(std::distance(fs::directory_iterator(directory.path()), fs::directory_iterator()), 1);
}

TEST_F(DrivesMapTest, IsNeverWrittenThroughALink)
{
    write("target", "untouched");
    fs::create_symlink(path("target"), path("copy"));
    DrivesMap::replace(QString::fromStdString(path("copy")), "new");
    EXPECT_EQ(bytes("target"), QByteArray("untouched"));
    EXPECT_EQ(bytes("copy"), QByteArray("new"));
    EXPECT_FALSE(fs::is_symlink(path("copy")));
}

TEST_F(DrivesMapTest, LeavesWhatItCannotReplaceAndLeavesNothingBehind)
{
    fs::create_directories(path("copy/in it"));
    DrivesMap::replace(QString::fromStdString(path("copy")), "new");
    DrivesMap::replace(QString::fromStdString(path("missing/copy")), "new");
    EXPECT_TRUE(fs::is_directory(path("copy/in it")));
    EXPECT_EQ(std::distance(fs::directory_iterator(directory.path()), fs::directory_iterator()), 1);
}

} // namespace
