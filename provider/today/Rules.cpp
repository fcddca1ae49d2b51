#include "provider/today/Rules.h"

#include <algorithm>
#include <cstring>

#include "provider/today/DeadMounts.h"
#include "provider/today/LabelRules.h"
#include "provider/today/MediumRules.h"
#include "provider/today/WindowsRules.h"

namespace Rules {
namespace {

/// A rule that looks at one device at a time.
template<void (*apply)(Presentation&, const Circumstances&)>
void each(Picture& picture, const Circumstances& circumstances)
{
    for (Presentation& device : picture) {
        apply(device, circumstances);
    }
}

/// The part of a device that a rule can change.
struct Before
{
    QString objectPath;
    QVariantMap properties;
    bool isOffered;
};

std::vector<Before> remembered(const Picture& picture)
{
    std::vector<Before> result;
    result.reserve(picture.size());
    for (const Presentation& device : picture) {
        result.push_back({device.shown.objectPath, device.shown.properties, device.isOffered});
    }
    return result;
}

/// Hardly a rule changes the order, so most devices are where they were.
std::size_t placeIn(const std::vector<Before>& before, const QString& objectPath, std::size_t hint)
{
    if (before[hint].objectPath == objectPath) {
        return hint;
    }
    const auto match = std::find_if(before.begin(), before.end(),
                                    [&](const Before& device) { return device.objectPath == objectPath; });
    return static_cast<std::size_t>(match - before.begin());
}

/// Whether the device in one place of `after` is presented otherwise, or earlier, than before.
bool differs(const std::vector<Before>& before, const Picture& after, std::size_t place)
{
    const Presentation& device = after[place];
    const std::size_t placeBefore = placeIn(before, device.shown.objectPath, place);
    const Before& prior = before[placeBefore];
    return place < placeBefore || device.isOffered != prior.isOffered ||
           device.shown.properties != prior.properties;
}

void apply(const Rule& rule, Picture& picture, const Circumstances& circumstances)
{
    const std::vector<Before> before = remembered(picture);
    rule.apply(picture, circumstances);
    for (std::size_t at = 0; at < picture.size(); ++at) {
        if (differs(before, picture, at)) {
            picture[at].reasons.push_back(&rule);
        }
    }
}

/// In the order in which they are applied: later ones see what earlier ones have made. Labels are compared
/// when they have their final spelling.
constexpr Rule Table[] = {
    {"memory-devices",
     "It lies in memory or in a file, so it is not a disk of this machine: somebody has set it up on "
     "purpose.",
     &hideMemoryDevices},
    {"rescue-medium",
     "The rescue system runs from it, or it belongs to the medium that the rescue system runs from.",
     &each<hideRescueMedium>},
    {"scsi-major", "It is a partition of an internal disk; programs look for these on major number 8 only.",
     &each<showScsiMajor>},
    {"windows-hidden", "Windows itself gives this partition no drive letter.", &each<withholdLetter>},
    {"windows-first",
     "NTFS and FAT partitions of internal disks come before all others, because letters are given in "
     "this order.",
     &putWindowsFirst},
    {"blank-labels", "A label with a blank would be two arguments for the NTFS driver.",
     &each<replaceBlanks>},
    {"drive-letter-labels", "Its label is a directory that belongs to a Windows drive.",
     &each<respellDriveLetter>},
    {"equal-labels", "Another external file system that is plugged in has the same name.", &numberEqualNames},
    {DeadMounts::Word, "The NTFS driver leaves a dead mount behind when its device is pulled out.", nullptr},
};

} // namespace

const std::vector<Rule>& all()
{
    static const std::vector<Rule> rules(std::begin(Table), std::end(Table));
    return rules;
}

Selection allBut(const QStringList& words)
{
    Selection result;
    for (const Rule& rule : all()) {
        if (!words.contains(QString::fromLatin1(rule.word))) {
            result.push_back(&rule);
        }
    }
    return result;
}

bool contains(const Selection& rules, const char* word)
{
    return std::any_of(rules.begin(), rules.end(),
                       [&](const Rule* rule) { return std::strcmp(rule->word, word) == 0; });
}

QString words()
{
    QStringList result;
    for (const Rule& rule : all()) {
        result += QString::fromLatin1(rule.word);
    }
    return result.join(QLatin1String(", "));
}

Picture present(const std::vector<const Device*>& devices, const Selection& rules,
                const Circumstances& circumstances)
{
    Picture picture;
    for (const Device* device : devices) {
        picture.push_back({*device, *device});
    }
    for (const Rule* rule : rules) {
        if (rule->apply != nullptr) {
            apply(*rule, picture, circumstances);
        }
    }
    return picture;
}

} // namespace Rules
