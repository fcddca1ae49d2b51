#include <fstream>
#include <memory>

#include <gmock/gmock.h>

#include <QDBusConnection>

#include "provider/UDisks2Source.h"
#include "tests/provider/FakeUDisks2.h"
#include "tests/provider/SampleDisks.h"
#include "tests/support/BusBeforeMain.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/WaitFor.h"

using namespace SampleDisks;
using testing::ElementsAre;

namespace {

const UDisks2Interfaces NAMELESS_SDC = unidentified(stickWithoutTable()[blockPath("sdc")]);
const UDisks2Interfaces NAMELESS_SDD =
    unidentified({{UDisks2::BLOCK, usbDisk()[blockPath("sdd")][UDisks2::BLOCK]}});

/// The provider's source over a fake UDisks2, on a machine whose udev knows what the test says.
class UDisks2HoldBackTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (busBeforeMain() == nullptr) {
            GTEST_SKIP() << "dbus-daemon is not installed";
        }
        udisks2 = std::make_unique<FakeUDisks2>();
        source = std::make_unique<UDisks2Source>(QDBusConnection::systemBus(), false, Sysfs(),
                                                 UdevDatabase(udev.path()));
        QObject::connect(source.get(), &UDisks2Source::added, [this](const QString& path) {
            announced.push_back(path.section(QLatin1Char('/'), -1).toStdString());
        });
        bool isReady = false;
        QObject::connect(source.get(), &UDisks2Source::ready, [&isReady] { isReady = true; });
        source->start();
        ASSERT_TRUE(waitFor([&] { return isReady; }));
    }

    void udevKnows(const std::string& number, const std::string& properties = {}) const
    {
        std::ofstream(udev.path() + "/b" + number) << "I:4711\n" << properties;
    }

    /// Udev is done with both, and nothing is identified.
    void addSdcAndSddButPullSdc() const
    {
        udevKnows("8:32");
        udevKnows("8:48");
        udisks2->add(blockPath("sdc"), NAMELESS_SDC);
        udisks2->remove(blockPath("sdc"));
        udisks2->add(blockPath("sdd"), NAMELESS_SDD);
    }

    const std::vector<std::string>& atLeast(size_t count)
    {
        waitFor([&] { return announced.size() >= count; });
        return announced;
    }

    TemporaryDirectory udev;
    std::unique_ptr<FakeUDisks2> udisks2;
    std::unique_ptr<UDisks2Source> source;
    std::vector<std::string> announced;
};

} // namespace

TEST_F(UDisks2HoldBackTest, AnnouncesWhatCannotBeIdentifiedAMomentAfterUdevIsDone)
{
    udevKnows("8:32");
    udisks2->add(blockPath("sdc"), NAMELESS_SDC);
    EXPECT_THAT(atLeast(1), ElementsAre("sdc"));
    EXPECT_EQ(source->devices().size(), 1);
}

TEST_F(UDisks2HoldBackTest, WaitsForAUdevThatIsSlow)
{
    udevKnows("8:48");
    udisks2->add(blockPath("sdc"), NAMELESS_SDC);
    udisks2->add(blockPath("sdd"), NAMELESS_SDD);
    ASSERT_THAT(atLeast(1), ElementsAre("sdd"));
    udevKnows("8:32", "E:ID_FS_TYPE=vfat\n");
    udisks2->change(blockPath("sdc"), UDisks2::BLOCK, stickWithoutTable()[blockPath("sdc")][UDisks2::BLOCK]);
    ASSERT_THAT(atLeast(2), ElementsAre("sdd", "sdc"));
    EXPECT_EQ(source->find(QStringLiteral("/org/freedesktop/UDisks/devices/sdc"))
                  ->properties[QStringLiteral("IdType")]
                  .toString()
                  .toStdString(),
              "vfat");
}

TEST_F(UDisks2HoldBackTest, NeverAnnouncesWhatIsGoneBeforeItWasIdentified)
{
    addSdcAndSddButPullSdc();
    EXPECT_THAT(atLeast(1), ElementsAre("sdd"));
}

TEST_F(UDisks2HoldBackTest, WaitsAnewForADeviceThatComesBack)
{
    addSdcAndSddButPullSdc();
    ASSERT_THAT(atLeast(1), ElementsAre("sdd"));
    udisks2->add(blockPath("sdc"), NAMELESS_SDC);
    udisks2->add(stick());
    EXPECT_THAT(atLeast(3), ElementsAre("sdd", "sdb", "sdb1"));
}
