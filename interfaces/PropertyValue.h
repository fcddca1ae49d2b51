#pragma once

#include <optional>

#include <QByteArray>
#include <QString>
#include <QVariant>

/// Values of D-Bus properties by their type, which is given as its signature: b y n q i u x t d s o as ao ay.
namespace PropertyValue {

bool isKnownType(const QString& signature);

/// The value that stands for "not known": false, 0, an empty text or list, and "/" as an object path, which
/// cannot be empty.
QVariant empty(const QString& signature);

/// The value that `text` writes, in the exact type. In a text, %XX stands for the byte with that hexadecimal
/// number; the items of a list are separated by commas. Nothing if the text is not a value of the type.
std::optional<QVariant> parse(const QString& signature, const QByteArray& text);

} // namespace PropertyValue
