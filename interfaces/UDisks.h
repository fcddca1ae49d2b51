#pragma once

#include <QString>

/// Where the UDisks service is found on the system bus.
namespace UDisks {

inline QString service()
{
    return QStringLiteral("org.freedesktop.UDisks");
}

inline QString path()
{
    return QStringLiteral("/org/freedesktop/UDisks");
}

} // namespace UDisks
