#pragma once

#include "log/Logger.h"

/// The logger of the program that this code is linked into. Each program defines it beside its `main`, so
/// that linking a class into a client or a test never creates the service's log directory.
extern Vorna::Logger* g_dbgR;

/// First statement of every public operation of a class: records at level Trace that it was entered. The log
/// shows the name of the file this stands in, so an operation stands in the file named after its class.
#define VORNA_TRACE() g_dbgR->trace(__FILE__, __LINE__, __func__)
