#include "tests/system/WindowsMachine.h"

#include "tests/support/Hives.h"
#include "tests/support/Images.h"

const std::string WindowsMachineTest::Map = "/mounts/windows/Programs/Vorna/drives.ini";

std::string WindowsMachineTest::drive(const std::string& letter, Place place)
{
    return letter + "=mbr:1234abcd:" + std::to_string(static_cast<int>(place));
}

std::string WindowsMachineTest::disk()
{
    return Images::disk("disk", "label: dos\nlabel-id: 0x1234abcd\n"
                                "start=2048,size=16384,type=7\nstart=20480,size=16384,type=7\n"
                                "start=40960,size=80000,type=5\nstart=43008,size=16384,type=7\n");
}

std::string WindowsMachineTest::windows(const std::string& name, const std::string& serial,
                                        const std::vector<std::string>& registry)
{
    std::string image = Images::ntfs(name, name, {}, serial);
    Images::put(image, "Windows/System32/config/SYSTEM",
                Hives::make("/tmp/images/" + name + ".hive", registry));
    return image;
}

void WindowsMachineTest::addPc()
{
    machine.addInternal("sda", disk());
    machine.addInternal("sda1", Images::ntfs("one", "Data", {}, "5A3C1F2000000001"));
    machine.addInternal("sda2", windows("two", "5A3C1F2000000002",
                                        {drive("C", Place::Second), "D=mbr:99999999:1048576",
                                         drive("E", Place::Logical), drive("G", Place::First)}));
    machine.addInternal("sda5", Images::ntfs("five", "Logical", {}, "5A3C1F2000000005"));
}

ProcessResult WindowsMachineTest::drivesMap(std::vector<std::string> options)
{
    options.insert(options.begin(), VRDRIVESMAP);
    return runProgram(options, {}, std::chrono::seconds(30));
}

void WindowsMachineTest::startWithMap()
{
    machine.start();
    const ProcessResult result = drivesMap();
    EXPECT_EQ(result.status, 0) << result.output;
    startService();
}
