#include "provider/udev/BusOrder.h"

#include <algorithm>
#include <tuple>

#include <QLatin1String>

namespace {

int digitsAt(const QString& text, int from)
{
    int end = from;
    while (end < text.size() && text[end] >= QLatin1Char('0') && text[end] <= QLatin1Char('9')) {
        ++end;
    }
    return end - from;
}

/// The text with every number written in one length, so that comparing texts compares numbers.
QString withEvenNumbers(const QString& text)
{
    constexpr int Length = 20;
    QString result;
    int at = 0;
    while (at < text.size()) {
        const int digits = digitsAt(text, at);
        const int length = std::max(digits, 1);
        result += text.mid(at, length).rightJustified(digits > 0 ? Length : 1, QLatin1Char('0'));
        at += length;
    }
    return result;
}

/// Without the "-part2" at the end of a partition's name.
QString withoutPartition(const QString& name)
{
    const QLatin1String mark("-part");
    const int at = name.lastIndexOf(mark);
    const int digits = at + mark.size();
    const bool isPartition = at > 0 && digits < name.size() && digits + digitsAt(name, digits) == name.size();
    return isPartition ? name.left(at) : name;
}

/// The place that a link names; none for one that lies deeper, which names what is on the device.
QString placeIn(const QString& link)
{
    const QLatin1String directory("/dev/disk/by-path/");
    const QString name = link.startsWith(directory) ? link.mid(directory.size()) : QString();
    return name.contains(QLatin1Char('/')) ? QString() : withoutPartition(name);
}

} // namespace

BusOrder BusOrder::of(const QStringList& linksByPath, int partition, dev_t number)
{
    QStringList places;
    for (const QString& link : linksByPath) {
        places += withEvenNumbers(placeIn(link));
    }
    places.removeAll(QString());
    std::sort(places.begin(), places.end());
    return {places.value(0), partition, number};
}

bool operator<(const BusOrder& left, const BusOrder& right)
{
    const auto key = [](const BusOrder& order) {
        const bool isNowhere = order.place.isEmpty();
        return std::make_tuple(isNowhere, order.place, isNowhere ? 0 : order.partition, order.number);
    };
    return key(left) < key(right);
}
