#include "tests/provider/today/FakeSysfs.h"

#include <fstream>

namespace fs = std::filesystem;

FakeSysfs::FakeSysfs()
{
    fs::create_directories(path() + "/dev/block");
    fs::create_directories(path() + "/class/block");
}

void FakeSysfs::addDisk(const std::string& name, const std::string& number)
{
    add(path() + "/devices/" + name, name, number);
}

void FakeSysfs::addPartition(const std::string& disk, const std::string& name, const std::string& number)
{
    const std::string directory = path() + "/devices/" + disk + "/" + name;
    add(directory, name, number);
    std::ofstream(directory + "/partition") << "1\n";
}

void FakeSysfs::addMapped(const std::string& name, const std::string& number,
                          const std::vector<std::string>& components)
{
    addDisk(name, number);
    const std::string slaves = directoryOf(name) + "/slaves";
    fs::create_directory(slaves);
    for (const std::string& component : components) {
        fs::create_directory_symlink(directoryOf(component), fs::path(slaves) / component);
    }
}

void FakeSysfs::addLoop(const std::string& name, const std::string& number, const std::string& backingFile)
{
    addDisk(name, number);
    fs::create_directory(directoryOf(name) + "/loop");
    std::ofstream(directoryOf(name) + "/loop/backing_file") << backingFile << "\n";
}

void FakeSysfs::remove(const std::string& number)
{
    fs::remove(path() + "/dev/block/" + number);
}

void FakeSysfs::add(const std::string& directory, const std::string& name, const std::string& number)
{
    fs::create_directories(directory);
    std::ofstream(directory + "/dev") << number << "\n";
    fs::create_directory_symlink(directory, path() + "/dev/block/" + number);
    fs::create_directory_symlink(directory, path() + "/class/block/" + name);
}

std::string FakeSysfs::directoryOf(const std::string& name) const
{
    return fs::canonical(path() + "/class/block/" + name);
}
