#include "provider/machine/NodeName.h"

#include <sys/sysmacros.h>

#include <QRegularExpression>

#include "interfaces/ScsiDisks.h"

namespace {

constexpr int DisksPerMajor = 16;
constexpr int NumbersPerDisk = 16;

/// "a" is 0, "z" is 25, "aa" is 26.
int diskIndex(const QString& letters)
{
    int index = 0;
    for (const QChar letter : letters) {
        index = index * 26 + (letter.unicode() - 'a' + 1);
    }
    return index - 1;
}

} // namespace

NodeName::NodeName(const QString& name)
    : _disk(name)
{
    // A disk whose own name ends in a digit sets the partition's number off with a "p".
    static const QRegularExpression form(QStringLiteral(
        "^(?<disk>(?:sd|hd|vd|xvd)[a-z]+)(?<number>[0-9]+)$"
        "|^(?<numberedDisk>(?:nvme[0-9]+n|mmcblk|md|loop|nbd)[0-9]+)p(?<numberAfterP>[0-9]+)$"));
    const QRegularExpressionMatch match = form.match(name);
    if (match.hasMatch()) {
        _disk = match.captured(QStringLiteral("disk")) + match.captured(QStringLiteral("numberedDisk"));
        _partition =
            (match.captured(QStringLiteral("number")) + match.captured(QStringLiteral("numberAfterP")))
                .toInt();
    }
}

std::optional<dev_t> NodeName::scsiNumber() const
{
    static const QRegularExpression form(QStringLiteral("^sd([a-z]{1,3})$"));
    const QRegularExpressionMatch match = form.match(_disk);
    const int disk = match.hasMatch() ? diskIndex(match.captured(1)) : -1;
    const auto majorIndex = static_cast<size_t>(disk / DisksPerMajor);
    if (disk < 0 || majorIndex >= ScsiDisks::Majors.size() || _partition >= NumbersPerDisk) {
        return std::nullopt;
    }
    return makedev(ScsiDisks::Majors.at(majorIndex),
                   static_cast<unsigned>(disk % DisksPerMajor * NumbersPerDisk + _partition));
}
