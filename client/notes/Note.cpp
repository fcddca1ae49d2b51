#include "client/notes/Note.h"

#include <algorithm>

#include "client/notes/NoteTable.h"

namespace Notes {
namespace {

using Names = std::vector<std::pair<std::string, std::string>>;

/// As a shell reads it back unchanged: names come from foreign media, and remedies are copied to a shell.
std::string shellWord(const std::string& name)
{
    static const std::string plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+:,./-";
    if (name.find_first_not_of(plain) == std::string::npos) {
        return name;
    }
    std::string result = "'";
    for (const char character : name) {
        result += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return result + '\'';
}

/// What is over it, where else it is, or what is in its place: never more than one of them.
std::string obstacle(const DriveFacts& drive)
{
    for (const std::string& name : {drive.coveredBy, drive.elsewhere}) {
        if (!name.empty()) {
            return name;
        }
    }
    return drive.placeTakenBy;
}

Names namesOf(const DriveFacts& drive)
{
    return {{"{node}", drive.node},
            {"{directory}", drive.directory},
            {"{type}", drive.type},
            {"{place}", drive.place},
            {"{other}", obstacle(drive)}};
}

/// Names are not looked at again, whatever braces they hold.
std::string filled(const std::string& text, const Names& names, std::string (*spelled)(const std::string&))
{
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const auto name = std::find_if(names.begin(), names.end(), [&](const auto& candidate) {
            return text.compare(at, candidate.first.size(), candidate.first) == 0;
        });
        result += name != names.end() ? spelled(name->second) : text.substr(at, 1);
        at += name != names.end() ? name->first.size() : 1;
    }
    return result;
}

std::string asItIs(const std::string& name)
{
    return name;
}

bool applies(const NoteRow& row, const DriveFacts& drive)
{
    return std::all_of(row.conditions.begin(), row.conditions.end(),
                       [&](NoteRow::Condition condition) { return condition(drive); });
}

} // namespace

std::optional<Note> on(const DriveFacts& drive)
{
    const std::vector<NoteRow>& table =
        drive.directory.empty() ? NoteTable::ofUnmounted() : NoteTable::ofMounted();
    const auto row =
        std::find_if(table.begin(), table.end(), [&](const NoteRow& one) { return applies(one, drive); });
    if (row == table.end()) {
        return std::nullopt;
    }
    const Names names = namesOf(drive);
    return Note{row->word, filled(row->reason, names, &asItIs), filled(row->remedy, names, &shellWord),
                row->isTrouble};
}

std::vector<std::string> words()
{
    std::vector<std::string> result;
    for (const auto* table : {&NoteTable::ofMounted(), &NoteTable::ofUnmounted()}) {
        for (const NoteRow& row : *table) {
            if (std::find(result.begin(), result.end(), row.word) == result.end()) {
                result.emplace_back(row.word);
            }
        }
    }
    return result;
}

} // namespace Notes
