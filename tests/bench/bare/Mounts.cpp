// The kernel calls that arrange ext4 partitions, and nothing else: the service is measured beside this.
//
// "bare_mounts sda1 sdb1" mounts /dev/sda1 and moves it to /media/C:, then /dev/sdb1 to /media/D:.
#include <cstdio>
#include <string>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool arrange(const std::string& node, char letter)
{
    constexpr mode_t Everyone = 0777;
    const std::string device = "/dev/" + node;
    const std::string temporary = "/mnt/" + node;
    const std::string target = std::string("/media/") + letter + ":";
    return mkdir(temporary.c_str(), Everyone) == 0 &&
           mount(device.c_str(), temporary.c_str(), "ext4", 0, "") == 0 &&
           mkdir(target.c_str(), Everyone) == 0 &&
           mount(temporary.c_str(), target.c_str(), nullptr, MS_MOVE, nullptr) == 0 &&
           rmdir(temporary.c_str()) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    char letter = 'C';
    for (int index = 1; index < argc; ++index, ++letter) {
        if (!arrange(argv[index], letter)) {
            std::perror(argv[index]);
            return 1;
        }
    }
    return 0;
}
