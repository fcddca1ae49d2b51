#include "provider/today/Explanation.h"

#include "process/TerminalText.h"
#include "provider/today/DeviceTraits.h"
#include "provider/today/Rules.h"

using namespace DeviceTraits;

namespace Explanation {
namespace {

std::string harmless(const QString& text)
{
    return TerminalText::harmless(text.toStdString());
}

std::string quoted(const QString& text)
{
    return '"' + harmless(text) + '"';
}

std::string heading(const Device& device)
{
    const QString type = text(device, "IdType");
    const QString label = text(device, "IdLabel");
    std::string result = harmless(text(device, "DeviceFile")) + ": ";
    result += flag(device, "DeviceIsSystemInternal") ? "internal" : "external";
    result += flag(device, "DeviceIsPartition") ? " partition, " : " device, ";
    result += type.isEmpty() ? "no file system" : harmless(type);
    return result + (label.isEmpty() ? "" : ' ' + quoted(label));
}

/// The rules put numbers and texts in place of the device's own.
std::string shownValue(const QVariant& value)
{
    return value.type() == QVariant::String ? quoted(value.toString()) : harmless(value.toString());
}

std::string changes(const Presentation& device)
{
    std::string result;
    for (const QString& name : device.shown.properties.keys()) {
        const QVariant own = device.actual.properties.value(name);
        const QVariant shown = device.shown.properties.value(name);
        if (own != shown) {
            result += (result.empty() ? "presented with " : " and ") + name.toStdString() + ' ' +
                      shownValue(shown) + " instead of " + shownValue(own);
        }
    }
    return result;
}

bool isMeant(const Device& device, const QString& file)
{
    return device.hasFile(file) || device.hasFile(QStringLiteral("/dev/") + file);
}

std::string presentation(const Presentation& device)
{
    if (!device.isOffered) {
        return "not offered";
    }
    std::string changed = changes(device);
    if (!changed.empty()) {
        return changed;
    }
    return device.reasons.empty() ? "presented as it is" : "presented as it is, earlier in the order";
}

} // namespace

std::string of(const Presentation& device)
{
    const std::string indent = "\n    ";
    std::string result = heading(device.actual) + indent + presentation(device);
    for (const Rule* rule : device.reasons) {
        result += indent + rule->word + ": " + rule->reason;
    }
    return result + '\n';
}

std::string of(const Picture& picture, const QString& file)
{
    std::string result;
    for (const Presentation& device : picture) {
        if (file.isEmpty() || isMeant(device.actual, file)) {
            result += of(device);
        }
    }
    return result;
}

} // namespace Explanation
