#include "kernel/MountInfo.h"

#include <algorithm>

#include <sys/sysmacros.h>

#include <QSet>

namespace MountInfo {
namespace {

constexpr int FixedFields = 6; // before the optional ones, which end with "-"

bool isOctal(char character)
{
    return character >= '0' && character <= '7';
}

/// The kernel writes blanks, line ends, backslashes and, in options, commas as "\040".
QByteArray decoded(const QByteArray& text)
{
    constexpr int EscapeLength = 4;
    constexpr int Octal = 8;
    QByteArray result;
    for (int at = 0; at < text.size(); ++at) {
        const QByteArray escape = text.mid(at, EscapeLength);
        if (escape.size() == EscapeLength && escape[0] == '\\' && isOctal(escape[1]) && isOctal(escape[2]) &&
            isOctal(escape[3])) {
            result += static_cast<char>(escape.mid(1).toInt(nullptr, Octal));
            at += EscapeLength - 1;
        } else {
            result += text[at];
        }
    }
    return result;
}

/// Directories with colons between them; a backslash makes a colon part of a name.
QList<QByteArray> directories(const QByteArray& text)
{
    QList<QByteArray> result{QByteArray()};
    for (int at = 0; at < text.size(); ++at) {
        if (text[at] == ':') {
            result += QByteArray();
        } else {
            at += text[at] == '\\' && at + 1 < text.size() ? 1 : 0;
            result.last() += text[at];
        }
    }
    // An empty one comes of the "::" before layers that hold data only.
    result.removeAll(QByteArray());
    return result;
}

/// From the options as the table has them, where an escaped comma does not end an option.
QList<QByteArray> layersIn(const QByteArray& options)
{
    static const QSet<QByteArray> keys{"lowerdir", "lowerdir+", "datadir+", "upperdir"};
    QList<QByteArray> result;
    for (const QByteArray& option : options.split(',')) {
        const int separator = option.indexOf('=');
        if (keys.contains(option.left(separator))) {
            result += directories(decoded(option.mid(separator + 1)));
        }
    }
    return result;
}

bool isReadOnly(const QByteArray& options)
{
    return options.split(',').contains("ro");
}

bool isShared(const QList<QByteArray>& optionalFields)
{
    return std::any_of(optionalFields.begin(), optionalFields.end(),
                       [](const QByteArray& field) { return field.startsWith("shared:"); });
}

dev_t numberIn(const QByteArray& text)
{
    const QList<QByteArray> parts = text.split(':');
    return makedev(parts.value(0).toUInt(), parts.value(1).toUInt());
}

Mount mountIn(const QList<QByteArray>& fields, int separator)
{
    const QByteArray& options = fields[separator + 3];
    Mount mount{fields[0].toInt(),
                numberIn(fields[2]),
                decoded(fields[3]),
                decoded(fields[4]),
                fields[separator + 1],
                decoded(fields[separator + 2]),
                isReadOnly(fields[5]) || isReadOnly(options),
                isShared(fields.mid(FixedFields, separator - FixedFields))};
    mount.parent = fields[1].toInt();
    if (mount.type == "overlay") {
        mount.layers = layersIn(options);
    }
    return mount;
}

} // namespace

std::vector<Mount> parse(const QByteArray& table)
{
    constexpr int FieldsBehind = 3;
    std::vector<Mount> result;
    for (const QByteArray& line : table.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        const int separator = fields.indexOf("-", FixedFields);
        if (separator != -1 && fields.size() > separator + FieldsBehind) {
            result.push_back(mountIn(fields, separator));
        }
    }
    return result;
}

const Mount* holding(const QByteArray& path, const std::vector<Mount>& mounts)
{
    const Mount* result = nullptr;
    for (const Mount& mount : mounts) {
        // Of several at one place the last one lies on top.
        if (isWithin(path, mount.target) &&
            (result == nullptr || mount.target.size() >= result->target.size())) {
            result = &mount;
        }
    }
    return result;
}

QByteArray nameBelow(const QByteArray& directory, const Mount& mount)
{
    const QByteArray start = directory + '/';
    const QByteArray name = mount.target.startsWith(start) ? mount.target.mid(start.size()) : QByteArray();
    return name.contains('/') ? QByteArray() : name;
}

bool isWithin(const QByteArray& path, const QByteArray& directory)
{
    const QByteArray prefix = directory.endsWith('/') ? directory : directory + '/';
    return path == directory || path.startsWith(prefix);
}

} // namespace MountInfo
