#include "process/ParserComplaint.h"

#include <QCommandLineParser>

QString complaintOf(const QCommandLineParser& parser)
{
    QString sentence = parser.errorText();
    sentence[0] = sentence[0].toLower();
    sentence.chop(1);
    return sentence;
}
