#include "tests/provider/udev/RecordedMachine.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

const fs::path Folder = RECORDED_DEVICES;

std::string nameOf(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

} // namespace

RecordedMachine::RecordedMachine(const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        read(name);
    }
    for (const std::string& path : _order) {
        _devices.emplace_back(_properties.at(path));
    }
}

BlockDevice RecordedMachine::device(const std::string& name, const BlockDevice::Properties& others) const
{
    const auto match = std::find_if(_order.begin(), _order.end(),
                                    [&](const std::string& path) { return nameOf(path) == name; });
    if (match == _order.end()) {
        throw std::runtime_error("no device " + name);
    }
    BlockDevice::Properties properties = _properties.at(*match);
    for (auto other = others.begin(); other != others.end(); ++other) {
        properties[other.key()] = other.value();
    }
    return BlockDevice(properties);
}

void RecordedMachine::setAttribute(const std::string& path, const std::string& value) const
{
    const fs::path file = _directory.path() + path;
    fs::create_directories(file.parent_path());
    std::ofstream(file) << value << "\n";
}

void RecordedMachine::removeFromSysfs(const std::string& path) const
{
    fs::remove_all(_directory.path() + path);
}

std::vector<std::string> RecordedMachine::allNames()
{
    std::vector<std::string> result;
    for (const auto& entry : fs::directory_iterator(Folder)) {
        result.push_back(entry.path().stem());
    }
    std::sort(result.begin(), result.end());
    return result;
}

void RecordedMachine::read(const std::string& name)
{
    std::ifstream file(Folder / (name + ".txt"));
    if (!file) {
        throw std::runtime_error("no record " + name);
    }
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#') {
            apply(line);
        }
    }
}

void RecordedMachine::apply(const std::string& line)
{
    const std::string rest = line.substr(line.find(' ') + 1);
    const std::string key = rest.substr(0, rest.find('='));
    const std::string value = rest.substr(std::min(rest.size(), key.size() + 1));
    if (line[0] == 'P') {
        _path = rest;
        _order.push_back(_path);
        _expected[nameOf(_path)];
        _properties[_path].insert("DEVPATH", QByteArray::fromStdString(_path));
        fs::create_directories(_directory.path() + _path);
    } else if (line[0] == 'E') {
        _properties[_path].insert(QByteArray::fromStdString(key), QByteArray::fromStdString(value));
    } else if (line[0] == 'A') {
        setAttribute(key[0] == '/' ? key : _path + "/" + key, value);
    } else if (line[0] == 'L') {
        link(_path + "/" + key, value);
    } else {
        _expected[nameOf(_path)].push_back(rest);
    }
}

void RecordedMachine::link(const std::string& path, const std::string& target) const
{
    fs::create_directories(_directory.path() + target);
    fs::create_directories(fs::path(_directory.path() + path).parent_path());
    fs::create_directory_symlink(_directory.path() + target, _directory.path() + path);
}
