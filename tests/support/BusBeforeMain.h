#pragma once

#include "tests/support/PrivateBus.h"

/// The bus that this test program has had since before its first static object; null without dbus-daemon.
PrivateBus* busBeforeMain();
