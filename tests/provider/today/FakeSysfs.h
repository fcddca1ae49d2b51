#pragma once

#include <string>
#include <vector>

#include "tests/support/TemporaryDirectory.h"

/// A directory with the files of sysfs that are read about block devices.
class FakeSysfs
{
public:
    FakeSysfs();

    /// `number` as sysfs writes it: "8:16".
    void addDisk(const std::string& name, const std::string& number);
    void addPartition(const std::string& disk, const std::string& name, const std::string& number);
    /// A mapped device or an array, made of others.
    void addMapped(const std::string& name, const std::string& number,
                   const std::vector<std::string>& components);
    void addLoop(const std::string& name, const std::string& number, const std::string& backingFile);
    /// The device is gone.
    void remove(const std::string& number);

    const std::string& path() const { return _directory.path(); }

private:
    void add(const std::string& directory, const std::string& name, const std::string& number);
    std::string directoryOf(const std::string& name) const;

    TemporaryDirectory _directory;
};
