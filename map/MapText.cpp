#include "map/MapText.h"

#include <algorithm>
#include <map>
#include <set>

#include <QRegularExpression>

#include "process/TerminalText.h"

namespace MapText {
namespace {

/// The service counts up from here.
constexpr char FirstLetter = 'C';
/// The last one that it gives once only.
constexpr char LastLetter = 'Z';

QString withColon(char letter)
{
    return QString(QLatin1Char(letter)) + QLatin1Char(':');
}

quint32 unusedVolumeId(const std::vector<Volume>& volumes)
{
    std::set<quint32> used;
    for (const Volume& volume : volumes) {
        used.insert(volume.volumeId().value_or(0));
    }
    quint32 volumeId = 0xFFFFFFFF;
    while (used.count(volumeId) != 0) {
        --volumeId;
    }
    return volumeId;
}

using Records = std::vector<std::pair<quint32, QStringList>>;

/// The highest letter of the plan. But where the letters behind it might not do for the partitions that have
/// none it is Z: there the service would put one upon the other, while behind Z it goes on counting.
char lastKept(const std::vector<PlannedLetter>& plan, const std::vector<Volume>& volumes, std::size_t named)
{
    const char highest = std::max<char>(plan.back().letter, FirstLetter - 1);
    const auto arranged =
        std::count_if(volumes.begin(), volumes.end(), [](const Volume& volume) { return volume.isArranged; });
    const auto unnamed = std::max<std::ptrdiff_t>(arranged - static_cast<std::ptrdiff_t>(named), 0);
    return highest + unnamed > LastLetter ? LastLetter : highest;
}

Records keepingRecords(char last, quint32 nobody)
{
    Records result;
    for (char letter = FirstLetter; letter <= last; ++letter) {
        result.push_back({nobody, {withColon(letter)}});
    }
    return result;
}

/// Of a partition with several letters the service takes the first.
Records realRecords(const std::vector<PlannedLetter>& plan, const std::vector<Volume>& volumes)
{
    std::map<int, QStringList> letters;
    for (const PlannedLetter& each : plan) {
        if (each.volume >= 0) {
            letters[each.volume] += withColon(each.letter);
        }
    }
    Records result;
    for (const auto& [volume, its] : letters) {
        result.push_back({volumes[static_cast<std::size_t>(volume)].volumeId().value_or(0), its});
    }
    return result;
}

/// A semicolon outside quotes would end the value.
QString valueOf(quint32 volumeId, const QStringList& letters)
{
    const QString value = QStringLiteral("[%1]%2").arg(
        QString::number(volumeId, 16).toUpper().rightJustified(8, QLatin1Char('0')),
        letters.join(QLatin1Char(';')));
    return letters.size() > 1 ? QStringLiteral("\"%1\"").arg(value) : value;
}

} // namespace

QByteArray of(const std::vector<PlannedLetter>& plan, const std::vector<Volume>& volumes,
              const QString& windows)
{
    const Records real = realRecords(plan, volumes);
    if (real.empty()) {
        return {};
    }
    Records all = keepingRecords(lastKept(plan, volumes, real.size()), unusedVolumeId(volumes));
    all.insert(all.end(), real.begin(), real.end());
    const QString name = QString::fromStdString(TerminalText::harmless(windows.toStdString()));
    QString text = QStringLiteral("; Written by vrdrivesmap from the registry of the Windows on %1.\n"
                                  "[Windows]\n")
                       .arg(name);
    int number = 0;
    for (const auto& [volumeId, letters] : all) {
        text += QStringLiteral("Partition%1=%2\n").arg(QString::number(++number), valueOf(volumeId, letters));
    }
    return text.toUtf8();
}

std::vector<Record> recordsOf(const QByteArray& map)
{
    static const QRegularExpression Form(
        QStringLiteral(R"(^\s*Partition\d+\s*=\s*"?\[([0-9A-Fa-f]{8})\][;\s]*([A-Za-z]:))"));
    std::vector<Record> result;
    for (const QByteArray& line : map.split('\n')) {
        const QRegularExpressionMatch match = Form.match(QString::fromLatin1(line));
        if (match.hasMatch()) {
            result.push_back({match.captured(1).toUInt(nullptr, 16), match.captured(2)});
        }
    }
    return result;
}

} // namespace MapText
