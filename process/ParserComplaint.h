#pragma once

#include <QString>

class QCommandLineParser;

/// Why the parser has refused the command line: "Unknown option 'x'." in the form of the programs' own
/// complaints, small at the beginning and without a full stop.
QString complaintOf(const QCommandLineParser& parser);
