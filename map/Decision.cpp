#include "map/Decision.h"

#include <algorithm>

#include <QDateTime>

#include "map/LetterPlan.h"
#include "map/MapText.h"

namespace {

using Trouble = WindowsFinding::Trouble;
using Windows = Survey::Windows;

const Volume& volumeOf(const Survey& survey, const Windows& windows)
{
    return survey.volumes[windows.volume];
}

QString troubleText(Trouble trouble)
{
    switch (trouble) {
    case Trouble::NoFileSystem:
        return QStringLiteral("its file system cannot be read");
    case Trouble::MapTooLarge:
        return QStringLiteral("its drives map is too large to be one");
    case Trouble::MapUnreadable:
        return QStringLiteral("its drives map cannot be read");
    case Trouble::RegistryTooLarge:
        return QStringLiteral("its registry is larger than 128 MiB");
    case Trouble::RegistryDamaged:
        return QStringLiteral("its registry is damaged");
    case Trouble::None:
        break;
    }
    return {};
}

/// From units of 100 ns since 1601. Out of range for a date, it is none.
QString timeText(qint64 fileTime)
{
    constexpr qint64 PerSecond = 10000000;
    constexpr qint64 UnixEpoch = 11644473600;
    const QDateTime time = QDateTime::fromSecsSinceEpoch(fileTime / PerSecond - UnixEpoch, Qt::UTC);
    return time.toString(QStringLiteral("yyyy-MM-dd hh:mm 'UTC'"));
}

QStringList notesOf(const Survey& survey)
{
    QStringList notes = survey.notes;
    for (const Windows& windows : survey.windows) {
        const QString trouble = troubleText(windows.finding.trouble);
        if (!trouble.isEmpty()) {
            notes += QStringLiteral("%1: %2").arg(volumeOf(survey, windows).node, trouble);
        }
    }
    for (const Volume& volume : survey.volumes) {
        if (volume.type == QLatin1String("BitLocker")) {
            notes += QStringLiteral("%1: encrypted with BitLocker, cannot be read").arg(volume.node);
        }
    }
    return notes;
}

const Windows* firstWithMap(const Survey& survey)
{
    const auto found = std::find_if(survey.windows.begin(), survey.windows.end(),
                                    [](const Windows& windows) { return !windows.finding.mapPath.empty(); });
    return found == survey.windows.end() ? nullptr : &*found;
}

/// Of several that were written at one time it is the first.
const Windows* writtenLast(const Survey& survey)
{
    const Windows* result = nullptr;
    for (const Windows& windows : survey.windows) {
        const bool isLater =
            result == nullptr || windows.finding.registry.written > result->finding.registry.written;
        if (windows.finding.hasRegistry && isLater) {
            result = &windows;
        }
    }
    return result;
}

/// The partition with this volume id, if there is exactly one.
const Volume* volumeWith(const Survey& survey, quint32 volumeId)
{
    const Volume* result = nullptr;
    for (const Volume& volume : survey.volumes) {
        if (volume.volumeId() == volumeId) {
            if (result != nullptr) {
                return nullptr;
            }
            result = &volume;
        }
    }
    return result;
}

void copyMap(const Survey& survey, const Windows& windows, Decision& decision)
{
    const QString node = volumeOf(survey, windows).node;
    decision.map = QByteArray::fromStdString(windows.finding.map);
    decision.notes += QStringLiteral("%1: its drives map is copied: %2")
                          .arg(node, QString::fromStdString(windows.finding.mapPath));
    for (const MapText::Record& record : MapText::recordsOf(decision.map)) {
        if (const Volume* const volume = volumeWith(survey, record.volumeId)) {
            decision.rows.push_back(
                {record.letter, volume->node, volume->label, QStringLiteral("drives map of %1").arg(node)});
        }
    }
}

void noteOthers(const Survey& survey, const Windows& chosen, Decision& decision)
{
    for (const Windows& windows : survey.windows) {
        if (windows.finding.hasRegistry && &windows != &chosen) {
            decision.notes +=
                QStringLiteral("%1: another Windows, its registry was written at %2; not used")
                    .arg(volumeOf(survey, windows).node, timeText(windows.finding.registry.written));
        }
    }
}

Decision::Row rowOf(const Survey& survey, const PlannedLetter& planned, const QString& source)
{
    const QString letter = QString(QLatin1Char(planned.letter)) + QLatin1Char(':');
    if (planned.volume < 0) {
        return {letter, {}, {}, QStringLiteral("kept free: %1").arg(planned.reason)};
    }
    const Volume& volume = survey.volumes[static_cast<std::size_t>(planned.volume)];
    return {letter, volume.node, volume.label, source};
}

void makeMap(const Survey& survey, const Windows& windows, Decision& decision)
{
    const QString node = volumeOf(survey, windows).node;
    const Registry& registry = windows.finding.registry;
    const std::vector<PlannedLetter> plan = planLetters(survey.volumes, registry.drives);
    for (const PlannedLetter& planned : plan) {
        decision.rows.push_back(rowOf(survey, planned, QStringLiteral("registry of %1").arg(node)));
    }
    decision.notes +=
        QStringLiteral("%1: its registry was written at %2").arg(node, timeText(registry.written));
    if (!registry.isComplete) {
        decision.notes +=
            QStringLiteral("%1: its registry was not closed, and is read as it stands").arg(node);
    }
    decision.map = MapText::of(plan, survey.volumes, node);
    if (decision.map.isEmpty()) {
        decision.notes += QStringLiteral("%1: none of its letters belongs to a partition here").arg(node);
    }
}

} // namespace

Decision decide(const Survey& survey)
{
    Decision decision;
    decision.notes = notesOf(survey);
    for (const Windows& windows : survey.windows) {
        decision.bytesRead += windows.finding.bytesRead;
    }
    if (const Windows* const mapped = firstWithMap(survey)) {
        copyMap(survey, *mapped, decision);
    } else if (const Windows* const windows = writtenLast(survey)) {
        makeMap(survey, *windows, decision);
        noteOthers(survey, *windows, decision);
    } else {
        decision.notes += QStringLiteral("no Windows was found");
    }
    return decision;
}
