#include <fstream>

#include <gmock/gmock.h>

#include "provider/machine/MachineSource.h"
#include "tests/support/TemporaryDirectory.h"

using testing::ElementsAre;

namespace {

/// A machine without images, and its announcements.
class MachineSourceTest : public testing::Test
{
protected:
    MachineSourceTest()
        : file(directory.path() + "/m.ini")
    {
        std::ofstream(file) << "[sdb1]\n[stick]\nNode = sdc1\nPlugged = false\n[sda1]\n"
                               "[other]\nNode = sda1\nPlugged = false\n";
        machine = std::make_unique<MachineSource>(file);
        const auto record = [this](const char* what) {
            return [this, what](const QString& path) {
                const std::string presence = machine->find(path) != nullptr ? "" : " (not there)";
                announced.push_back(what + (" " + path.section(QLatin1Char('/'), -1).toStdString()) +
                                    presence);
            };
        };
        QObject::connect(machine.get(), &DeviceSource::ready, [this] { announced.emplace_back("ready"); });
        QObject::connect(machine.get(), &DeviceSource::added, record("added"));
        QObject::connect(machine.get(), &DeviceSource::changed, record("changed"));
        QObject::connect(machine.get(), &DeviceSource::removed, record("removed"));
        machine->start();
    }

    std::vector<std::string> names() const
    {
        std::vector<std::string> result;
        for (const Device* device : machine->devices()) {
            result.push_back(device->objectPath.section(QLatin1Char('/'), -1).toStdString());
        }
        return result;
    }

    template<typename Operation>
    static std::string refusalOf(Operation operation)
    {
        try {
            operation();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "not refused";
    }

    TemporaryDirectory directory;
    std::string file;
    std::unique_ptr<MachineSource> machine;
    std::vector<std::string> announced;
    const QString stick = QStringLiteral("stick");
};

} // namespace

TEST_F(MachineSourceTest, AnnouncesNothingThatIsThereFromTheStart)
{
    EXPECT_THAT(names(), ElementsAre("sdb1", "sda1"));
    EXPECT_THAT(announced, ElementsAre("ready"));
}

TEST_F(MachineSourceTest, AddsADeviceInTheOrderOfTheFile)
{
    machine->plug(stick);
    EXPECT_THAT(names(), ElementsAre("sdb1", "sdc1", "sda1"));
    EXPECT_THAT(announced, ElementsAre("ready", "added sdc1"));
}

TEST_F(MachineSourceTest, AnnouncesThatADeviceGoesWhileItIsStillThere)
{
    machine->plug(stick);
    machine->unplug(stick);
    EXPECT_THAT(names(), ElementsAre("sdb1", "sda1"));
    EXPECT_THAT(announced, ElementsAre("ready", "added sdc1", "removed sdc1"));
}

TEST_F(MachineSourceTest, ChangesADeviceThatIsPluggedIn)
{
    machine->plug(stick);
    machine->set(stick, QStringLiteral("IdLabel"), QStringLiteral("NEW"));
    EXPECT_THAT(announced, ElementsAre("ready", "added sdc1", "changed sdc1"));
    EXPECT_EQ(machine->devices()[1]->properties[QStringLiteral("IdLabel")], QVariant(QStringLiteral("NEW")));
}

TEST_F(MachineSourceTest, ChangesADeviceBeforeItIsPluggedIn)
{
    machine->set(stick, QStringLiteral("IdLabel:missing"), QString());
    EXPECT_THAT(announced, ElementsAre("ready"));
    machine->plug(stick);
    EXPECT_TRUE(machine->devices()[1]->missing.contains(QStringLiteral("IdLabel")));
}

TEST_F(MachineSourceTest, RefusesWhatMakesNoSense)
{
    const QString sda1 = QStringLiteral("sda1");
    EXPECT_EQ(refusalOf([&] { machine->plug(QStringLiteral("x")); }), "this machine has no device x");
    EXPECT_EQ(refusalOf([&] { machine->unplug(QStringLiteral("x")); }), "this machine has no device x");
    EXPECT_EQ(refusalOf([&] { machine->plug(sda1); }), "sda1 is plugged in already");
    EXPECT_EQ(refusalOf([&] { machine->unplug(stick); }), "stick is not plugged in");
    EXPECT_EQ(refusalOf([&] { machine->plug(QStringLiteral("other")); }),
              "[other] /dev/sda1 belongs to another device");
    EXPECT_EQ(refusalOf([&] { machine->set(sda1, QStringLiteral("Image"), QStringLiteral("x")); }),
              "Image: there is no such key and no such property");
    EXPECT_THAT(announced, ElementsAre("ready"));
}

TEST_F(MachineSourceTest, SaysWhichImageCannotBeRead)
{
    std::ofstream(file) << "[sda1]\nImage = none.img\n";
    MachineSource broken(file);
    EXPECT_EQ(refusalOf([&] { broken.start(); }),
              file + ": [sda1] Image: " + directory.path() + "/none.img: No such file or directory");
}
