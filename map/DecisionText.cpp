#include "map/DecisionText.h"

#include <algorithm>
#include <array>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "process/TerminalText.h"

namespace DecisionText {
namespace {

constexpr std::size_t ColumnCount = 4;

using Cells = std::array<std::string, ColumnCount>;
using Widths = std::array<std::size_t, ColumnCount>;

const Cells Heading{"LETTER", "PARTITION", "LABEL", "FROM"};

std::string cell(const QString& text)
{
    return text.isEmpty() ? "-" : TerminalText::harmless(text.toStdString());
}

Cells cellsOf(const Decision::Row& row)
{
    return {cell(row.letter), cell(row.partition), cell(row.label), cell(row.from)};
}

Widths widthsOf(const std::vector<Cells>& lines)
{
    Widths widths{};
    for (const Cells& line : lines) {
        for (std::size_t column = 0; column < ColumnCount; ++column) {
            widths.at(column) = std::max(widths.at(column), TerminalText::columns(line.at(column)));
        }
    }
    return widths;
}

/// The last column is not filled up.
std::string lineOf(const Cells& cells, const Widths& widths)
{
    std::string result;
    for (std::size_t column = 0; column + 1 < ColumnCount; ++column) {
        const std::string& text = cells.at(column);
        result += text + std::string(widths.at(column) - TerminalText::columns(text) + 2, ' ');
    }
    return result + cells.back() + '\n';
}

QJsonValue textOrNull(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QJsonObject objectOf(const Decision::Row& row)
{
    return {
        {QStringLiteral("letter"), row.letter},
        {QStringLiteral("partition"), textOrNull(row.partition)},
        {QStringLiteral("label"), textOrNull(row.label)},
        {QStringLiteral("from"), row.from},
    };
}

} // namespace

std::string table(const Decision& decision)
{
    std::vector<Cells> lines{Heading};
    std::transform(decision.rows.begin(), decision.rows.end(), std::back_inserter(lines), &cellsOf);
    const Widths widths = widthsOf(lines);
    std::string result;
    for (const Cells& line : lines) {
        result += decision.rows.empty() ? std::string() : lineOf(line, widths);
    }
    for (const QString& note : decision.notes) {
        result += TerminalText::harmless(note.toStdString()) + '\n';
    }
    return result;
}

std::string json(const Decision& decision)
{
    QJsonArray letters;
    for (const Decision::Row& row : decision.rows) {
        letters.append(objectOf(row));
    }
    const QJsonObject object{
        {QStringLiteral("letters"), letters},
        {QStringLiteral("notes"), QJsonArray::fromStringList(decision.notes)},
        {QStringLiteral("map"), textOrNull(QString::fromUtf8(decision.map))},
        {QStringLiteral("bytesRead"), static_cast<double>(decision.bytesRead)},
    };
    return QJsonDocument(object).toJson().toStdString();
}

} // namespace DecisionText
