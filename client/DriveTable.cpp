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
    Remark,
    ColumnCount,
};

constexpr const char* Bold = "\x1b[1m";
constexpr const char* Dim = "\x1b[2m";
constexpr const char* Yellow = "\x1b[33m";
constexpr const char* Plain = "\x1b[0m";

using Row = std::array<std::string, ColumnCount>;
using Widths = std::array<std::size_t, ColumnCount>;

const Row Heading{"DIRECTORY", "DEVICE", "TYPE", "LABEL", "MODE", "SIZE", "FREE", "NOTE"};

/// A bind mount shows what of the device it is, as in "/dev/sda1[/home]".
std::string deviceText(const MountedDrive& mount)
{
    return mount.root == "/" ? mount.device : mount.device + "[" + mount.root + "]";
}

/// What is not known, or not there.
constexpr const char* Absent = "-";

void fillMounted(Row& row, const MountedDrive& mount, const std::optional<Space>& space)
{
    row[Directory] = mount.directory;
    row[Mode] = mount.readOnly ? "ro" : "rw";
    if (space) {
        row[Size] = humanSize(space->size);
        row[Free] = humanSize(space->free);
    }
}

Row rowOf(const ListedDrive& drive)
{
    Row row{Absent, deviceText(drive.mount), drive.type, drive.label, Absent, Absent, Absent, {}};
    if (drive.isMounted()) {
        fillMounted(row, drive.mount, drive.space);
    } else if (drive.deviceSize != 0) {
        row[Size] = humanSize(drive.deviceSize);
    }
    row[Remark] = drive.note ? drive.note->reason : "";
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

std::string padded(const std::string& cell, std::size_t width, bool isNumber)
{
    const std::string padding(width - TerminalText::columns(cell), ' ');
    return isNumber ? padding + cell : cell + padding;
}

/// Nothing is written behind the last text of a line.
std::string line(const Row& row, const Widths& widths)
{
    std::string result;
    for (std::size_t column = 0; column < row.size(); ++column) {
        const bool isNumber = column == Size || column == Free;
        result += (column == 0 ? "" : "  ") + padded(row.at(column), widths.at(column), isNumber);
    }
    return result.substr(0, result.find_last_not_of(' ') + 1);
}

std::string styled(const std::string& text, const char* colour, const Style& style)
{
    const std::string shown = TerminalText::cut(text, style.width);
    return (style.hasColours ? colour + shown + Plain : shown) + '\n';
}

const char* colourOf(const ListedDrive& drive)
{
    if (drive.note && drive.note->isTrouble) {
        return Yellow;
    }
    return drive.isMounted() ? Plain : Dim;
}

/// Drives with the same remedy share a line.
std::string remedies(const std::vector<ListedDrive>& drives, const Style& style)
{
    std::vector<std::pair<std::string, std::string>> lines;
    for (const ListedDrive& drive : drives) {
        const auto same = std::find_if(lines.begin(), lines.end(), [&](const auto& line) {
            return drive.note && line.second == drive.note->remedy;
        });
        if (same != lines.end()) {
            same->first += ", " + drive.mount.device;
        } else if (drive.note) {
            lines.emplace_back(drive.mount.device, drive.note->remedy);
        }
    }
    std::string result = lines.empty() ? "" : "\n";
    for (auto& [devices, remedy] : lines) {
        devices.append(": ").append(remedy);
        result += TerminalText::cut(TerminalText::harmless(devices), style.width);
        result += '\n';
    }
    return result;
}

QJsonValue textOrNull(const std::string& text)
{
    return text.empty() ? QJsonValue() : QJsonValue(QString::fromStdString(text));
}

QJsonValue bytes(std::uint64_t count)
{
    return static_cast<double>(count);
}

QJsonValue sizeOf(const ListedDrive& drive)
{
    if (drive.space) {
        return bytes(drive.space->size);
    }
    return !drive.isMounted() && drive.deviceSize != 0 ? bytes(drive.deviceSize) : QJsonValue();
}

QJsonObject objectOf(const ListedDrive& drive)
{
    const MountedDrive& mount = drive.mount;
    const Note note = drive.note.value_or(Note());
    return {
        {QStringLiteral("directory"), textOrNull(mount.directory)},
        {QStringLiteral("device"), QString::fromStdString(mount.device)},
        {QStringLiteral("root"), QString::fromStdString(mount.root)},
        {QStringLiteral("type"), QString::fromStdString(drive.type)},
        {QStringLiteral("label"), QString::fromStdString(drive.label)},
        {QStringLiteral("readOnly"), drive.isMounted() ? QJsonValue(mount.readOnly) : QJsonValue()},
        {QStringLiteral("size"), sizeOf(drive)},
        {QStringLiteral("free"), drive.space ? bytes(drive.space->free) : QJsonValue()},
        {QStringLiteral("note"), textOrNull(note.word)},
        {QStringLiteral("reason"), textOrNull(note.reason)},
        {QStringLiteral("remedy"), textOrNull(note.remedy)},
    };
}

} // namespace

std::string table(const std::vector<ListedDrive>& drives, const Style& style)
{
    std::vector<Row> rows{Heading};
    std::transform(drives.begin(), drives.end(), std::back_inserter(rows), &rowOf);
    const Widths widths = widthsOf(rows);
    std::string result = styled(line(Heading, widths), Bold, style);
    for (std::size_t at = 0; at < drives.size(); ++at) {
        result += styled(line(rows[at + 1], widths), colourOf(drives[at]), style);
    }
    return result + remedies(drives, style);
}

std::string json(const std::vector<ListedDrive>& drives, Layout layout)
{
    QJsonArray array;
    for (const ListedDrive& drive : drives) {
        array.append(objectOf(drive));
    }
    const bool isIndented = layout == Layout::Indented;
    const QByteArray text =
        QJsonDocument(array).toJson(isIndented ? QJsonDocument::Indented : QJsonDocument::Compact);
    return text.toStdString() + (isIndented ? "" : "\n");
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
