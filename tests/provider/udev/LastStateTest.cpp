#include "provider/udev/LastState.h"

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tests/support/TemporaryDirectory.h"

namespace fs = std::filesystem;

namespace {

const std::string Path = "/org/freedesktop/UDisks/devices/";

std::string bootId()
{
    std::string id;
    std::ifstream("/proc/sys/kernel/random/boot_id") >> id;
    return id;
}

AnnouncedDevice announced(const char* name, const QMap<QString, QString>& identity = {})
{
    return {QString::fromStdString(Path) + QString::fromLatin1(name), identity};
}

class LastStateTest : public testing::Test
{
protected:
    void put(const std::string& text) const { std::ofstream(file) << text; }
    bool isAccepted() const { return LastState(file).read().has_value(); }
    std::string valid() const
    {
        return R"({"boot":")" + bootId() + R"(","devices":[{"path":")" + Path + R"(sda"}]})";
    }

    TemporaryDirectory directory;
    std::string file = directory.path() + "/state";
};

} // namespace

TEST_F(LastStateTest, ReadsWhatItWrote)
{
    const QMap<QString, QString> identity{{QStringLiteral("file"), QString::fromUtf8("/a\"\nb\\\xc3\xbc")},
                                          {QStringLiteral("uuid"), QString()}};
    LastState(file).write({announced("sdb_5f1", identity), announced("sda")});
    const auto devices = LastState(file).read();
    ASSERT_TRUE(devices);
    ASSERT_EQ(devices->size(), 2U);
    EXPECT_EQ(devices->at(0).objectPath, announced("sdb_5f1").objectPath);
    EXPECT_EQ(devices->at(0).identity, identity);
    EXPECT_EQ(devices->at(1).objectPath, announced("sda").objectPath);
}

TEST_F(LastStateTest, KnowsAMachineWithoutDevicesFromNoState)
{
    EXPECT_FALSE(isAccepted());
    LastState(file).write({});
    EXPECT_TRUE(isAccepted());
}

TEST_F(LastStateTest, KeepsNothingWithoutANameAndSaysNothingOfIt)
{
    testing::internal::CaptureStderr();
    LastState nothing{std::string()};
    nothing.write({announced("sda")});
    EXPECT_FALSE(nothing.read());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(LastStateTest, ReplacesTheFileInOneStepForItsUserAlone)
{
    LastState state(file);
    state.write({announced("sda")});
    const std::ifstream reader(file);
    state.write({announced("sdb")});
    std::stringstream before;
    before << reader.rdbuf();
    EXPECT_NE(before.str().find("sda"), std::string::npos);
    struct stat status = {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    EXPECT_EQ(std::distance(fs::directory_iterator(directory.path()), fs::directory_iterator()), 1);
}

TEST_F(LastStateTest, WritesOnlyWhatIsNew)
{
    LastState state(file);
    state.write({announced("sda")});
    fs::remove(file);
    state.write({announced("sda")});
    EXPECT_FALSE(fs::exists(file));
    state.write({announced("sda", {{AnnouncedDevice::Content, QStringLiteral("1234-ABCD")}})});
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(LastStateTest, TriesAgainWhatCouldNotBeWritten)
{
    LastState state(directory.path() + "/later/state");
    state.write({announced("sda")});
    fs::create_directory(directory.path() + "/later");
    state.write({announced("sda")});
    EXPECT_TRUE(fs::exists(directory.path() + "/later/state"));
}

TEST_F(LastStateTest, OutlivesAFailureToWrite)
{
    LastState("/proc/nowhere/state").write({announced("sda")});
    EXPECT_FALSE(LastState("/proc/nowhere/state").read());
}

TEST_F(LastStateTest, IgnoresADamagedFile)
{
    put(valid());
    ASSERT_TRUE(isAccepted());
    const std::string boot = R"({"boot":")" + bootId() + R"(",)";
    const std::string table[] = {
        "",
        "\xff\xfe",
        valid().substr(0, valid().size() - 1),
        "[]",
        "{}",
        R"({"boot":"00000000-0000-0000-0000-000000000000","devices":[]})",
        R"({"devices":[]})",
        boot + R"("devices":{}})",
        boot + R"("devices":[7]})",
        boot + R"("devices":[{}]})",
        boot + R"("devices":[{"path":7}]})",
        boot + R"("devices":[{"path":"/"}]})",
        boot + R"("devices":[{"path":")" + Path + R"("}]})",
        boot + R"("devices":[{"path":")" + Path + R"(a/b"}]})",
        boot + R"("devices":[{"path":")" + Path + R"(sda\n"}]})",
        boot + R"("devices":[{"path":"x)" + Path + R"(sda"}]})",
        boot + R"("devices":[{"path":")" + Path + R"(sda"},{"path":""}]})",
        valid() + std::string(1 << 20, ' '),
    };
    for (const std::string& text : table) {
        put(text);
        EXPECT_FALSE(isAccepted()) << text.substr(0, 200);
    }
}

TEST_F(LastStateTest, IgnoresAFileThatOthersMayHaveWritten)
{
    put(valid());
    for (const mode_t mode : {0620U, 0602U}) {
        chmod(file.c_str(), mode);
        EXPECT_FALSE(isAccepted()) << mode;
    }
    chmod(file.c_str(), 0644);
    EXPECT_TRUE(isAccepted());
    fs::create_symlink(file, directory.path() + "/link");
    EXPECT_FALSE(LastState(directory.path() + "/link").read());
    EXPECT_FALSE(LastState(directory.path()).read());
    ASSERT_EQ(mkfifo((directory.path() + "/pipe").c_str(), 0600), 0);
    EXPECT_FALSE(LastState(directory.path() + "/pipe").read());
    if (geteuid() == 0 && chown(file.c_str(), 1, 1) == 0) {
        EXPECT_FALSE(isAccepted());
    }
}
