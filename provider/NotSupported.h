#pragma once

#include "provider/BusCall.h"

/// UDisks 1's answer to a method that would change something.
inline BusReply notSupported(const BusCall& call)
{
    return BusReply::refusal(QStringLiteral("org.freedesktop.UDisks.Error.NotSupported"),
                             QStringLiteral("%1 is not carried out by this provider").arg(call.member));
}
