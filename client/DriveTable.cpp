#include "client/DriveTable.h"

#include <algorithm>
#include <array>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "process/TerminalText.h"

namespace DriveTable {
namespace {

enum Column
{
    Directory,
    Device,
    Type,
    Label,
    Mode,
    Size,
    Free,
    ColumnCount,
};

using Row = std::array<std::string, ColumnCount>;
using Widths = std::array<std::size_t, ColumnCount>;

const Row Heading{"DIRECTORY", "DEVICE", "TYPE", "LABEL", "MODE", "SIZE", "FREE"};

/// A bind mount shows what of the device it is, as in "/dev/sda1[/home]".
std::string deviceText(const MountedDrive& mount)
{
    return mount.root == "/" ? mount.device : mount.device + "[" + mount.root + "]";
}

Row rowOf(const ListedDrive& drive)
{
    const MountedDrive& mount = drive.mount;
    Row row{
        mount.directory, deviceText(mount), mount.type, drive.label, mount.readOnly ? "ro" : "rw", "-", "-"};
    if (drive.space) {
        row[Size] = humanSize(drive.space->size);
        row[Free] = humanSize(drive.space->free);
    }
    std::transform(row.begin(), row.end(), row.begin(), &TerminalText::harmless);
    return row;
}

Widths widthsOf(const std::vector<Row>& rows)
{
    Widths widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths.at(column) = std::max(widths.at(column), TerminalText::columns(row.at(column)));
        }
    }
    return widths;
}

std::string line(const Row& row, const Widths& widths)
{
    std::string result;
    for (std::size_t column = 0; column < row.size(); ++column) {
        const std::string& cell = row.at(column);
        const std::string padding(widths.at(column) - TerminalText::columns(cell), ' ');
        const bool isNumber = column == Size || column == Free;
        result += (column == 0 ? "" : "  ") + (isNumber ? padding + cell : cell + padding);
    }
    return result + '\n';
}

QJsonValue bytes(std::uint64_t count)
{
    return static_cast<double>(count);
}

QJsonObject objectOf(const ListedDrive& drive)
{
    const MountedDrive& mount = drive.mount;
    return {
        {QStringLiteral("directory"), QString::fromStdString(mount.directory)},
        {QStringLiteral("device"), QString::fromStdString(mount.device)},
        {QStringLiteral("root"), QString::fromStdString(mount.root)},
        {QStringLiteral("type"), QString::fromStdString(mount.type)},
        {QStringLiteral("label"), QString::fromStdString(drive.label)},
        {QStringLiteral("readOnly"), mount.readOnly},
        {QStringLiteral("size"), drive.space ? bytes(drive.space->size) : QJsonValue()},
        {QStringLiteral("free"), drive.space ? bytes(drive.space->free) : QJsonValue()},
    };
}

} // namespace

std::string table(const std::vector<ListedDrive>& drives)
{
    std::vector<Row> rows{Heading};
    std::transform(drives.begin(), drives.end(), std::back_inserter(rows), &rowOf);
    const Widths widths = widthsOf(rows);
    std::string result;
    for (const Row& row : rows) {
        result += line(row, widths);
    }
    return result;
}

std::string json(const std::vector<ListedDrive>& drives)
{
    QJsonArray array;
    for (const ListedDrive& drive : drives) {
        array.append(objectOf(drive));
    }
    return QJsonDocument(array).toJson().toStdString();
}

std::string humanSize(std::uint64_t bytes)
{
    static const std::array<const char*, 6> units{"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    constexpr double Step = 1024;
    constexpr double RoundsUp = 1023.95; // would be shown as "1024.0"
    if (bytes < 1024) {
        return std::to_string(bytes) + " B";
    }
    double value = static_cast<double>(bytes) / Step;
    std::size_t unit = 0;
    while (value >= RoundsUp && unit + 1 < units.size()) {
        value /= Step;
        ++unit;
    }
    return QString::number(value, 'f', 1).toStdString() + ' ' + units.at(unit);
}

} // namespace DriveTable
