#pragma once

#include <optional>
#include <utility>

#include <QString>
#include <QVariant>

/// A method call that has arrived on the bus. Every part of it is its sender's free choice.
struct BusCall
{
    QString sender; ///< the unique name, which the bus itself fills in
    QString path;
    QString interface; ///< empty: the first interface of the object that has the member
    QString member;
    QString signature; ///< of `arguments`
    QVariantList arguments;

    /// The argument at `index` as a text or a number; empty or 0 if it is missing or has another type.
    QString text(int index) const { return arguments.value(index).toString(); }
    qlonglong number(int index) const { return arguments.value(index).toLongLong(); }
};

/// The answer to a call: values, or the name of an error and a line for the user.
struct BusReply
{
    QVariantList values;
    QString error; ///< empty: none
    QString message;

    static BusReply of(const QVariant& value) { return {{value}, {}, {}}; }
    static BusReply refusal(const QString& error, const QString& message) { return {{}, error, message}; }
};
