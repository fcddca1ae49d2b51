#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include <unistd.h>

#include <QFile>
#include <QSettings>

#include "drives/DrivesMap.h"
#include "drives/RunningLetter.h"
#include "tests/fuzz/Require.h"

/// Any bytes are a drives map: it is copied, read, and walked in search of a letter.
namespace {

/// The settings reader remembers files by their names, so each map gets its own.
std::string freshFile()
{
    static unsigned long count = 0;
    return "/dev/shm/fuzz-drives-map-" + std::to_string(getpid()) + "-" + std::to_string(++count);
}

void checkPartitions(const QList<WindowsPartition>& partitions)
{
    for (const WindowsPartition& partition : partitions) {
        require(partition.number >= 1, "numbers begin at 1");
        require(!partition.letters.contains(QString()), "no letter is empty");
    }
}

void checkWalk(const QList<WindowsPartition>& partitions)
{
    RunningLetter runningLetter;
    runningLetter.walk(partitions, QStringLiteral("2A"));
    const QString letter = runningLetter.nextFree([](const QString&) { return false; });
    require(letter.size() == 2 && letter.at(1) == QLatin1Char(':'), "only the first character changes");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string map = freshFile();
    std::ofstream(map, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    const QString copy = QString::fromStdString(map + ".copy");
    DrivesMap::replace(copy, DrivesMap::read(QString::fromStdString(map)));
    {
        QSettings settings(copy, QSettings::IniFormat);
        const QList<WindowsPartition> partitions = DrivesMap::partitions(settings);
        checkPartitions(partitions);
        checkWalk(partitions);
    }
    unlink(map.c_str());
    unlink(QFile::encodeName(copy).constData());
    return 0;
}
