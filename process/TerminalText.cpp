#include "process/TerminalText.h"

#include <cwchar>

#include <QString>
#include <QVector>

namespace TerminalText {
namespace {

std::string escaped(const QByteArray& bytes)
{
    std::string result;
    for (const char byte : bytes) {
        result += "\\x" + QByteArray(1, byte).toHex().toStdString();
    }
    return result;
}

bool isPrintable(uint character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

std::size_t widthOf(uint character)
{
    const int width = wcwidth(static_cast<wchar_t>(character));
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

} // namespace

std::string harmless(const std::string& text)
{
    QString decoded = QString::fromStdString(text);
    const bool isUtf8 = decoded.toStdString() == text;
    if (!isUtf8) {
        decoded = QString::fromLatin1(text.data(), static_cast<int>(text.size()));
    }
    std::string result;
    for (const uint character : decoded.toUcs4()) {
        const QString one = QString::fromUcs4(&character, 1);
        const QByteArray bytes = isUtf8 ? one.toUtf8() : one.toLatin1();
        const bool isShown = isPrintable(character) && (isUtf8 || character < 0x80);
        result += isShown ? bytes.toStdString() : escaped(bytes);
    }
    return result;
}

std::size_t columns(const std::string& text)
{
    std::size_t result = 0;
    for (const uint character : QString::fromStdString(text).toUcs4()) {
        result += widthOf(character);
    }
    return result;
}

std::string cut(const std::string& text, std::size_t most)
{
    std::string result;
    std::size_t taken = 0;
    for (const uint character : QString::fromStdString(text).toUcs4()) {
        taken += widthOf(character);
        if (taken > most) {
            break;
        }
        result += QString::fromUcs4(&character, 1).toStdString();
    }
    return result;
}

} // namespace TerminalText
