#include "core/DisplayText.h"

#include <algorithm>

namespace {

constexpr qsizetype ToolTipLength = 2000;
/// Longer runs without a blank get places where they may be wrapped.
constexpr qsizetype WordLength = 60;
constexpr QChar Ellipsis = u'\x2026';
constexpr QChar WrapHere = u'\x200B';

QString Shortened(const QString& text, qsizetype length)
{
    if (text.size() <= length) return text;
    const bool splitsPair = text.at(length - 1).isHighSurrogate();
    return text.left(splitsPair ? length - 1 : length) + Ellipsis;
}

QString Wrappable(const QString& text)
{
    QString result;
    qsizetype run = 0;
    for (const QChar character : text) {
        run = character.isSpace() ? 0 : run + 1;
        if (run > WordLength && !character.isLowSurrogate()) {
            result += WrapHere;
            run = 1;
        }
        result += character;
    }
    return result;
}

} // namespace

bool IsLineEnd(QChar character)
{
    return character == u'\n' || character == u'\r' || character == QChar::LineSeparator ||
           character == QChar::ParagraphSeparator;
}

QString OneLine(const QString& text, qsizetype length)
{
    if (text.size() <= length && std::none_of(text.begin(), text.end(), IsLineEnd)) return text;
    QString line = Shortened(text, length);
    line.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
    std::replace_if(line.begin(), line.end(), IsLineEnd, QChar(u' '));
    return line;
}

QString ToolTipHtml(const QString& text)
{
    if (text.isEmpty()) return {};
    QString shown = Shortened(text, ToolTipLength);
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n")); // would count as two line ends
    return QStringLiteral("<p style=\"white-space:pre-wrap\">%1</p>").arg(Wrappable(shown).toHtmlEscaped());
}
