#include "scripttool/ScriptHighlighter.h"

#include "core/Colours.h"

#include <QRegularExpression>
#include <QSet>

namespace {

/// Longer lines are data rather than code, and take long to colour.
constexpr qsizetype LongestColoured = 1024;

const QSet<QString>& Keywords()
{
    static const QSet<QString> Words = [] {
        const QString words = QStringLiteral(
            "async await break case catch class const continue debugger default delete do else export extends false "
            "finally for function get if import in instanceof let new null of return set static super switch this "
            "throw true try typeof undefined var void while with yield");
        const QStringList list = words.split(u' ');
        return QSet<QString>(list.begin(), list.end());
    }();
    return Words;
}

/// Keywords that are themselves values.
bool IsValue(const QString& keyword)
{
    static const QSet<QString> Values = {QStringLiteral("this"), QStringLiteral("super"), QStringLiteral("null"),
                                         QStringLiteral("true"), QStringLiteral("false"), QStringLiteral("undefined")};
    return Values.contains(keyword);
}

/// One token of a line, by the name of its group. An unfinished token (such as an open text) goes to the end of the
/// line.
const QRegularExpression& Token()
{
    static const QRegularExpression Expression(
        QStringLiteral(R"re((?<line>//.*+)|(?<comment>/\*)|(?<template>`))re"
                       R"re(|(?<text>"(?:[^"\\]++|\\.)*+(?:"|\\?$)|'(?:[^'\\]++|\\.)*+(?:'|\\?$)))re"
                       R"re(|(?<number>(?:0[xXbBoO][0-9a-fA-F_]++|(?:\d[\d_]*+\.?\d*+|\.\d++)(?:[eE][+-]?\d++)?)n?))re"
                       R"re(|(?<word>[\p{L}_$][\p{L}\p{N}_$]*+)|(?<space>\s++)|(?<closing>[)\]}])|(?<sign>.))re"));
    return Expression;
}

const QRegularExpression& Pattern()
{
    static const QRegularExpression Expression(
        QStringLiteral(R"re(/(?:[^/\\\[]++|\\.|\[(?:[^\]\\]++|\\.)*+\])++/[a-z]*+)re"));
    return Expression;
}

QRegularExpressionMatch MatchAt(const QRegularExpression& expression, const QString& text, qsizetype at)
{
    return expression.match(text, at, QRegularExpression::NormalMatch, QRegularExpression::AnchorAtOffsetMatchOption);
}

/// The position after the backquote that ends a template, or -1.
qsizetype EndOfTemplate(const QString& text, qsizetype from)
{
    for (qsizetype at = from; at < text.size(); ++at) {
        if (text[at] == u'\\') ++at;
        else if (text[at] == u'`') return at + 1;
    }
    return -1;
}

/// The position after the end of a comment, or -1.
qsizetype EndOfComment(const QString& text, qsizetype from)
{
    const qsizetype end = text.indexOf(u"*/", from);
    return end < 0 ? -1 : end + 2;
}

} // namespace

ScriptHighlighter::ScriptHighlighter(QTextDocument* document)
    : QSyntaxHighlighter(document)
{
}

void ScriptHighlighter::SetColours(const QPalette& palette)
{
    const auto colour = [&](Word word, QColor onLight, QColor onDark) {
        m_Formats[static_cast<std::size_t>(word)].setForeground(Colours::Readable(palette, onLight, onDark));
    };
    colour(Word::Comment, QColor(0x4f, 0x74, 0x4f), QColor(0x8f, 0xb5, 0x8a));
    colour(Word::Text, QColor(0x8a, 0x4b, 0x08), QColor(0xe5, 0xb3, 0x77));
    colour(Word::Number, QColor(0x6a, 0x3d, 0xa8), QColor(0xc3, 0xa6, 0xf0));
    colour(Word::Keyword, QColor(0x1d, 0x4f, 0xa8), QColor(0x86, 0xb4, 0xf5));
    rehighlight();
}

void ScriptHighlighter::highlightBlock(const QString& text)
{
    m_Line = text;
    m_AfterValue = false;
    setCurrentBlockState(InCode);
    qsizetype at = TakeRestOfEarlierLine();
    if (m_Line.size() > LongestColoured) return;
    while (at < m_Line.size()) at = TakeToken(at);
}

qsizetype ScriptHighlighter::TakeRestOfEarlierLine()
{
    if (previousBlockState() == InComment) return TakeUntil(0, EndOfComment(m_Line, 0), Word::Comment, InComment);
    if (previousBlockState() == InTemplate) return TakeUntil(0, EndOfTemplate(m_Line, 0), Word::Text, InTemplate);
    if (QStringView(m_Line).trimmed().startsWith(u'\'')) return TakeUntil(0, m_Line.size(), Word::Comment, InCode);
    return 0;
}

qsizetype ScriptHighlighter::TakeToken(qsizetype at)
{
    const QRegularExpressionMatch pattern = m_AfterValue ? QRegularExpressionMatch() : MatchAt(Pattern(), m_Line, at);
    const QRegularExpressionMatch token = MatchAt(Token(), m_Line, at);
    const auto is = [&](QStringView group) { return token.capturedStart(group) >= 0; };
    if (!token.hasMatch()) return m_Line.size();
    if (is(u"line")) return TakeUntil(at, m_Line.size(), Word::Comment, InCode);
    if (is(u"comment")) return TakeUntil(at, EndOfComment(m_Line, at + 2), Word::Comment, InComment);
    if (is(u"space")) return token.capturedEnd();
    m_AfterValue = !is(u"sign");
    if (is(u"template")) return TakeUntil(at, EndOfTemplate(m_Line, at + 1), Word::Text, InTemplate);
    if (is(u"text")) return TakeUntil(at, token.capturedEnd(), Word::Text, InCode);
    if (is(u"number")) return TakeUntil(at, token.capturedEnd(), Word::Number, InCode);
    if (is(u"word")) return TakeWord(at, token.captured());
    if (!pattern.hasMatch()) return token.capturedEnd();
    m_AfterValue = true;
    return TakeUntil(at, pattern.capturedEnd(), Word::Text, InCode);
}

qsizetype ScriptHighlighter::TakeWord(qsizetype at, const QString& word)
{
    const bool isMember = at > 0 && m_Line[at - 1] == u'.';
    const bool isKeyword = !isMember && Keywords().contains(word);
    m_AfterValue = !isKeyword || IsValue(word);
    if (isKeyword) TakeUntil(at, at + word.size(), Word::Keyword, InCode);
    return at + word.size();
}

/// Colours up to `end`, or, when that is -1, up to the end of the line; the next line then continues the same token.
qsizetype ScriptHighlighter::TakeUntil(qsizetype start, qsizetype end, Word word, State goesOn)
{
    if (end < 0) setCurrentBlockState(goesOn);
    const qsizetype last = end < 0 ? m_Line.size() : end;
    setFormat(static_cast<int>(start), static_cast<int>(last - start), m_Formats[static_cast<std::size_t>(word)]);
    return last;
}
