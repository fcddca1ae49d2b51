#include "provider/today/LabelRules.h"

#include <algorithm>

#include <QSet>

#include "provider/today/DeviceTraits.h"

using namespace DeviceTraits;

namespace {

const char* const Label = "IdLabel";

QString ownName(const Device& device)
{
    const QString label = text(device, Label);
    return label.isEmpty() ? text(device, "IdUuid") : label;
}

QString numbered(const QString& name, uint number)
{
    return name + QLatin1Char('_') + QString::number(number);
}

/// Whether a device with a name of its own can have got the other one.
bool isNumbered(const QString& own, const QString& shown)
{
    const uint number = shown.mid(own.size() + 1).toUInt();
    return shown == own || (number != 0 && shown == numbered(own, number));
}

bool isDriveLetter(const QString& label)
{
    return label.size() == 2 && label[1] == QLatin1Char(':') && label[0].unicode() < 0x80 &&
           label[0].isLetter();
}

/// Gives out names, none twice.
class NameBook
{
public:
    bool isFree(const QString& name) const { return !_taken.contains(name); }

    void give(Presentation& device, const QString& own, const QString& shown)
    {
        _taken.insert(shown);
        device.name = shown;
        if (shown != own) {
            set(device.shown, Label, shown);
        }
    }

    QString numbered(const QString& name) const
    {
        uint number = 2;
        while (!isFree(::numbered(name, number))) {
            ++number;
        }
        return ::numbered(name, number);
    }

private:
    QSet<QString> _taken;
};

using Nameless = std::vector<Presentation*>;

/// Those whose names are in use already keep them; the others are returned.
Nameless keepNames(Picture& picture, const Circumstances& circumstances, NameBook& book)
{
    Nameless others;
    for (Presentation& device : picture) {
        const QString own = ownName(device.shown);
        if (!device.isOffered || !isExternalFileSystem(device.shown) || own.isEmpty()) {
            continue;
        }
        const auto known = circumstances.names.find(device.shown.objectPath);
        if (known != circumstances.names.end() && book.isFree(known->second) &&
            isNumbered(own, known->second)) {
            book.give(device, own, known->second);
        } else {
            others.push_back(&device);
        }
    }
    return others;
}

/// A name of one's own goes before the number that another would need.
Nameless giveOwnNames(const Nameless& devices, NameBook& book)
{
    Nameless others;
    for (Presentation* device : devices) {
        const QString own = ownName(device->shown);
        if (book.isFree(own)) {
            book.give(*device, own, own);
        } else {
            others.push_back(device);
        }
    }
    return others;
}

} // namespace

void replaceBlanks(Presentation& device, const Circumstances& /*circumstances*/)
{
    const QString label = text(device.shown, Label);
    QString whole = label;
    whole.replace(QLatin1Char(' '), QLatin1Char('_')).replace(QLatin1Char('\t'), QLatin1Char('_'));
    if (whole != label && isExternalFileSystem(device.shown) && isNtfs(device.shown)) {
        set(device.shown, Label, whole);
    }
}

void respellDriveLetter(Presentation& device, const Circumstances& /*circumstances*/)
{
    QString label = text(device.shown, Label);
    const bool isOfWindows = isDriveLetter(label) || label == QLatin1String("system-reserved");
    if (isOfWindows && isExternalFileSystem(device.shown)) {
        label.replace(QLatin1Char(':'), QLatin1Char('_')).replace(QLatin1Char('-'), QLatin1Char('_'));
        set(device.shown, Label, label);
    }
}

void numberEqualNames(Picture& picture, const Circumstances& circumstances)
{
    NameBook book;
    const Nameless newcomers = keepNames(picture, circumstances, book);
    for (Presentation* device : giveOwnNames(newcomers, book)) {
        const QString own = ownName(device->shown);
        book.give(*device, own, book.numbered(own));
    }
}
