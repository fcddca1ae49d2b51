#pragma once

#include <QString>
#include <QStringList>

/// The bytes of the log are fixed: users and scripts read them. A string value stands between double quotes
/// and is followed by one blank; so is a plain literal. The framework's own stream would drop the last blank
/// and escape quotes and backslashes, so everything that logs goes through these functions.
///
/// A control character inside a value is written as an escape ("\n", "\x1b"): no label and no request can
/// forge a log line.
namespace LogText {

/// `text` in double quotes, control characters escaped, without the last blank.
QString quoted(const QString& text);

/// The list form: an opening parenthesis, the quoted items separated by ", ", a closing parenthesis.
QString list(const QStringList& items);

/// Whether a message at debug level would be written, for those whose values are costly to find out.
bool takesDebug();

/// Writes `text` quoted at debug level.
void debug(const QString& text);
/// Writes `text` quoted at warning level.
void warning(const QString& text);

/// Writes `label`, a blank and `value` (already in the form that the log shows) at debug level.
void debugLabelled(const char* label, const QString& value);
/// Writes `literal` unquoted at warning level.
void warningLiteral(const char* literal);

} // namespace LogText
