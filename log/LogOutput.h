#pragma once

#include <QtGlobal>

/// Routes one message of the framework into `g_dbgR`: debug messages at level 7, warnings at 5, critical ones
/// at 2, fatal ones at 1. Messages about the framework's own "QWSLock" are dropped. A fatal message also asks
/// the application to quit.
void logOutput(QtMsgType type, const char* message);

/// Makes `logOutput` the framework's message handler.
void installLogOutput();
