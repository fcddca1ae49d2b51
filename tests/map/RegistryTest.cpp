#include <random>

#include <gmock/gmock.h>

#include <QByteArray>

#include "map/reader/Registry.h"
#include "tests/support/Files.h"
#include "tests/support/Hives.h"
#include "tests/support/TemporaryDirectory.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RegistryTest : public testing::Test
{
protected:
    std::string make(const std::vector<std::string>& settings) const { return Hives::make(file, settings); }

    /// "C 0a0b" for each letter.
    static std::vector<std::string> drivesOf(const std::string& path)
    {
        std::vector<std::string> result;
        for (const RememberedDrive& drive : readRegistry(path).drives) {
            const QByteArray data(drive.data.data(), static_cast<int>(drive.data.size()));
            result.push_back(std::string{drive.letter, ' '} + data.toHex().toStdString());
        }
        return result;
    }

    TemporaryDirectory directory;
    const std::string file = directory.path() + "/SYSTEM";
};

TEST_F(RegistryTest, HasTheLettersInItsOrder)
{
    EXPECT_THAT(drivesOf(make({"E=mbr:1234abcd:1048576", "C=gpt:0123ABCD-1122-3344-5566-778899aabbcc"})),
                ElementsAre("E cdab34120000100000000000", "C 444d494f3a49443acdab23012211443355667788"
                                                          "99aabbcc"));
}

TEST_F(RegistryTest, TakesNothingElseForALetter)
{
    EXPECT_THAT(drivesOf(make({"C=hex:01", "c=hex:02", "d=hex:03", "1=hex:04", "CC=hex:05", "=hex:06"})),
                ElementsAre("C 01", "D 03"));
}

TEST_F(RegistryTest, KnowsLettersByTheirWholeNames)
{
    EXPECT_THAT(drivesOf(make({"a=hex:01", "z=hex:02", "B=hex:03", "Y=hex:04"})),
                ElementsAre("A 01", "Z 02", "B 03", "Y 04"));
    EXPECT_THAT(drivesOf(make({"Z=hex:01"})), ElementsAre("Z 01"));
    for (const char* name : {"EE", "", "[", "@", "`", "{", R"(\DosDevices\E;)", R"(\DosDevicez\E:)",
                             R"(\??\Volume{E}\E:)", R"(\DosDevices\E:\)"}) {
        EXPECT_THAT(drivesOf(make({std::string(name) + "=hex:01"})), IsEmpty()) << name;
    }
}

TEST_F(RegistryTest, HasNoLettersWithoutTheKey)
{
    EXPECT_THAT(drivesOf(make({"--key", "Select", "C=hex:01"})), IsEmpty());
    EXPECT_THAT(drivesOf(make({"--key", "mounteddevices", "C=hex:01"})), ElementsAre("C 01"));
    EXPECT_THAT(drivesOf(make({})), IsEmpty());
}

TEST_F(RegistryTest, LeavesOutDataThatIsTooLong)
{
    const std::string data(1025 * 2, '1');
    EXPECT_THAT(drivesOf(make({"C=hex:" + data, "D=hex:" + data.substr(2)})),
                ElementsAre("C ", "D " + data.substr(2)));
}

TEST_F(RegistryTest, SaysWhenItWasWrittenAndWhetherThatWasDone)
{
    const Registry closed = readRegistry(make({"--written", "1700000000"}));
    EXPECT_EQ(closed.written, (1700000000 + 11644473600) * 10000000);
    EXPECT_TRUE(closed.isComplete);
    EXPECT_FALSE(readRegistry(make({"--open"})).isComplete);
}

TEST_F(RegistryTest, RefusesWhatIsNone)
{
    EXPECT_THROW(readRegistry(file), std::runtime_error);
    for (const std::string& content : {std::string(), std::string("regf"), std::string(8192, '\0')}) {
        Files::write(file, content);
        EXPECT_THROW(readRegistry(file), std::runtime_error) << content.size();
    }
}

/// Bytes that are overwritten and files that are cut. The header's checksum is made to fit again, or hardly
/// any would be looked at.
class DamagedRegistry
{
public:
    explicit DamagedRegistry(std::string content)
        : _content(std::move(content))
    {
    }

    std::string draw()
    {
        std::string result = _content;
        for (std::size_t count = 1 + upTo(7); count > 0; --count) {
            result[upTo(result.size() - 1)] = static_cast<char>(upTo(255));
        }
        if (upTo(9) == 0) {
            result.resize(upTo(result.size()));
        }
        fitChecksum(result);
        return result;
    }

private:
    std::size_t upTo(std::size_t most)
    {
        return std::uniform_int_distribution<std::size_t>(0, most)(_random);
    }

    static void fitChecksum(std::string& content)
    {
        constexpr std::size_t Place = 508;
        if (content.size() < Place + 4) {
            return;
        }
        char sum[4] = {};
        for (std::size_t at = 0; at < Place; ++at) {
            sum[at % 4] = static_cast<char>(sum[at % 4] ^ content[at]);
        }
        content.replace(Place, 4, sum, 4);
    }

    std::string _content;
    std::mt19937 _random{20261121};
};

TEST_F(RegistryTest, OfTenThousandDamagedOnesEachIsReadOrRefused)
{
    DamagedRegistry damaged(Files::content(make({"C=mbr:1234abcd:1048576", "D=hex:5c003f00"})));
    int refused = 0;
    for (int count = 0; count < 10000; ++count) {
        Files::write(file, damaged.draw());
        try {
            EXPECT_LE(readRegistry(file).drives.size(), 26U);
        } catch (const std::runtime_error&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 100);
    EXPECT_LT(refused, 9900);
}

} // namespace
