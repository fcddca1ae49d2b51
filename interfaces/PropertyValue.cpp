#include "interfaces/PropertyValue.h"

#include <limits>

#include <QDBusObjectPath>
#include <QHash>
#include <QRegularExpression>
#include <QStringList>

namespace PropertyValue {
namespace {

using Parser = std::optional<QVariant> (*)(const QByteArray& text);

std::optional<QByteArray> decoded(const QByteArray& text)
{
    QByteArray result;
    for (int at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            result += text[at];
            continue;
        }
        const QByteArray digits = text.mid(at + 1, 2);
        const QByteArray byte = QByteArray::fromHex(digits);
        if (byte.isEmpty() || byte.toHex() != digits.toLower()) {
            return std::nullopt;
        }
        result += byte;
        at += 2;
    }
    return result;
}

std::optional<QString> decodedText(const QByteArray& text)
{
    const std::optional<QByteArray> bytes = decoded(text);
    if (!bytes || bytes->contains('\0') || QString::fromUtf8(*bytes).toUtf8() != *bytes) {
        return std::nullopt;
    }
    return QString::fromUtf8(*bytes);
}

std::optional<QVariant> parseText(const QByteArray& text)
{
    const std::optional<QString> value = decodedText(text);
    return value ? std::optional<QVariant>(*value) : std::nullopt;
}

std::optional<QVariant> parseBytes(const QByteArray& text)
{
    const std::optional<QByteArray> value = decoded(text);
    return value ? std::optional<QVariant>(*value) : std::nullopt;
}

std::optional<QVariant> parseBool(const QByteArray& text)
{
    if (text != "true" && text != "false") {
        return std::nullopt;
    }
    return QVariant(text == "true");
}

template<typename Number>
std::optional<QVariant> parseSigned(const QByteArray& text)
{
    bool isNumber = false;
    const qlonglong value = text.toLongLong(&isNumber);
    if (!isNumber || value < std::numeric_limits<Number>::min() ||
        value > std::numeric_limits<Number>::max()) {
        return std::nullopt;
    }
    return QVariant::fromValue(static_cast<Number>(value));
}

template<typename Number>
std::optional<QVariant> parseUnsigned(const QByteArray& text)
{
    bool isNumber = false;
    const qulonglong value = text.toULongLong(&isNumber);
    if (!isNumber || value > std::numeric_limits<Number>::max()) {
        return std::nullopt;
    }
    return QVariant::fromValue(static_cast<Number>(value));
}

std::optional<QVariant> parseDouble(const QByteArray& text)
{
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    return isNumber ? std::optional<QVariant>(value) : std::nullopt;
}

std::optional<QStringList> items(const QByteArray& text)
{
    QStringList result;
    for (const QByteArray& item : text.isEmpty() ? QList<QByteArray>() : text.split(',')) {
        const std::optional<QString> value = decodedText(item.trimmed());
        if (!value) {
            return std::nullopt;
        }
        result += *value;
    }
    return result;
}

std::optional<QVariant> parseList(const QByteArray& text)
{
    const std::optional<QStringList> values = items(text);
    return values ? std::optional<QVariant>(*values) : std::nullopt;
}

bool isObjectPath(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^/$|^(/[A-Za-z0-9_]+)+$"));
    return form.match(text).hasMatch();
}

std::optional<QVariant> parsePath(const QByteArray& text)
{
    const QString path = QString::fromUtf8(text);
    return isObjectPath(path) ? std::optional<QVariant>(QVariant::fromValue(QDBusObjectPath(path)))
                              : std::nullopt;
}

std::optional<QVariant> parsePaths(const QByteArray& text)
{
    QList<QDBusObjectPath> paths;
    for (const QString& item : items(text).value_or(QStringList(QString()))) {
        if (!isObjectPath(item)) {
            return std::nullopt;
        }
        paths += QDBusObjectPath(item);
    }
    return QVariant::fromValue(paths);
}

struct Type
{
    QVariant empty;
    Parser parse;
};

const QHash<QString, Type>& types()
{
    static const QHash<QString, Type> all{
        {QStringLiteral("b"), {QVariant(false), &parseBool}},
        {QStringLiteral("y"), {QVariant::fromValue(uchar(0)), &parseUnsigned<uchar>}},
        {QStringLiteral("n"), {QVariant::fromValue(short(0)), &parseSigned<short>}},
        {QStringLiteral("q"), {QVariant::fromValue(ushort(0)), &parseUnsigned<ushort>}},
        {QStringLiteral("i"), {QVariant(0), &parseSigned<int>}},
        {QStringLiteral("u"), {QVariant(0U), &parseUnsigned<uint>}},
        {QStringLiteral("x"), {QVariant(qlonglong(0)), &parseSigned<qlonglong>}},
        {QStringLiteral("t"), {QVariant(qulonglong(0)), &parseUnsigned<qulonglong>}},
        {QStringLiteral("d"), {QVariant(0.0), &parseDouble}},
        {QStringLiteral("s"), {QVariant(QString()), &parseText}},
        {QStringLiteral("o"), {QVariant::fromValue(QDBusObjectPath(QStringLiteral("/"))), &parsePath}},
        {QStringLiteral("as"), {QVariant(QStringList()), &parseList}},
        {QStringLiteral("ao"), {QVariant::fromValue(QList<QDBusObjectPath>()), &parsePaths}},
        {QStringLiteral("ay"), {QVariant(QByteArray()), &parseBytes}},
    };
    return all;
}

} // namespace

bool isKnownType(const QString& signature)
{
    return types().contains(signature);
}

QVariant empty(const QString& signature)
{
    return types()[signature].empty;
}

std::optional<QVariant> parse(const QString& signature, const QByteArray& text)
{
    return types()[signature].parse(text);
}

} // namespace PropertyValue
