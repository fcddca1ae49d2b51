#include "provider/UdevDatabase.h"

#include <fstream>

#include <sys/sysmacros.h>

namespace {

bool beginsWith(const std::string& line, const char* start)
{
    return line.rfind(start, 0) == 0;
}

bool tellsContent(const std::string& line)
{
    return beginsWith(line, "E:ID_FS_TYPE=") || beginsWith(line, "E:ID_PART_TABLE_TYPE=");
}

/// The time of the first look: an entry without it is of a device that udev has not looked at.
bool tellsThatItIsDone(const std::string& line)
{
    return beginsWith(line, "I:");
}

} // namespace

UdevDatabase::UdevDatabase(std::string directory)
    : _directory(std::move(directory))
{
}

UdevDatabase::Knowledge UdevDatabase::knowledgeOf(dev_t number) const
{
    std::ifstream entry(_directory + "/b" + std::to_string(major(number)) + ":" +
                        std::to_string(minor(number)));
    Knowledge result = Knowledge::Nothing;
    for (std::string line; std::getline(entry, line);) {
        if (tellsContent(line)) {
            return Knowledge::Content;
        }
        if (tellsThatItIsDone(line)) {
            result = Knowledge::Device;
        }
    }
    return result;
}
