#include "provider/today/LabelRules.h"

#include <algorithm>

#include <QRegularExpression>
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

/// Whether a device with a name of its own can have got the other one.
bool isNumbered(const QString& own, const QString& shown)
{
    static const QRegularExpression number(QStringLiteral("\\A(?:_[1-9][0-9]*)?\\z"));
    return shown.startsWith(own) && number.match(shown.mid(own.size())).hasMatch();
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
        int number = 2;
        while (!isFree(numbered(name, number))) {
            ++number;
        }
        return numbered(name, number);
    }

private:
    static QString numbered(const QString& name, int number)
    {
        return name + QLatin1Char('_') + QString::number(number);
    }

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
    static const QRegularExpression blank(QStringLiteral("[ \t]"));
    const QString label = text(device.shown, Label);
    if (isExternalFileSystem(device.shown) && isNtfs(device.shown) && label.contains(blank)) {
        set(device.shown, Label, QString(label).replace(blank, QStringLiteral("_")));
    }
}

void respellDriveLetter(Presentation& device, const Circumstances& /*circumstances*/)
{
    static const QRegularExpression drive(QStringLiteral("\\A(?:[A-Za-z](:)|system(-)reserved)\\z"));
    QString label = text(device.shown, Label);
    const QRegularExpressionMatch match = drive.match(label);
    if (isExternalFileSystem(device.shown) && match.hasMatch()) {
        label[match.capturedStart(match.lastCapturedIndex())] = QLatin1Char('_');
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
