#include "velsqllib/TextCursor.h"

#include "core/automation/NumberText.h"
#include "velsqllib/TextErrors.h"

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype LongestLowerBound = QStringView(u"[-2147483648..]").size();

bool IsBlank(QChar c)
{
    return c == u' ' || c == u'\t';
}

bool NeedsQuotes(QStringView text)
{
    if (text.isEmpty() || IsBlank(text.front()) || IsBlank(text.back()) || text.front() == u'[') return true;
    return std::any_of(text.begin(), text.end(), [](QChar c) {
        return c == u',' || c == u'"' || c == u'{' || c == u'}' || c == u'\r' || c == u'\n';
    });
}

} // namespace

TextCursor::TextCursor(QStringView text)
    : m_Text(text)
{
}

bool TextCursor::AtDelimiter() const
{
    if (m_At == m_Text.size()) return true;
    return m_Text[m_At] == u',' || (InBraces() && m_Text[m_At] == u'}');
}

void TextCursor::SkipBlanks()
{
    while (m_At < m_Text.size() && IsBlank(m_Text[m_At])) ++m_At;
}

bool TextCursor::AtEnd()
{
    SkipBlanks();
    return m_At == m_Text.size() || (InBraces() && m_Text[m_At] == u'}');
}

bool TextCursor::TakeIf(QChar c)
{
    SkipBlanks();
    if (m_At == m_Text.size() || m_Text[m_At] != c) return false;
    ++m_At;
    return true;
}

void TextCursor::Take(QChar c)
{
    if (TakeIf(c)) return;
    const QString where =
        m_At == m_Text.size() ? QStringLiteral(" at the end") : QStringLiteral(" before ") + Quote(Left());
    throw ValueError(Quote(QStringView(&c, 1)) + QStringLiteral(" is missing") + where);
}

void TextCursor::EnterBraces()
{
    if (!TakeIf(u'{'))
        throw ValueError(Quote(TakePlain()) + QStringLiteral(" is not a typed text in braces such as {3,25}"));
    ++m_Braces;
}

void TextCursor::LeaveBraces()
{
    Take(u'}');
    --m_Braces;
}

QStringView TextCursor::TakeRest()
{
    return m_Text.sliced(std::exchange(m_At, m_Text.size()));
}

QStringView TextCursor::TakePlain()
{
    const qsizetype begin = m_At;
    while (!AtDelimiter()) ++m_At;
    return WithoutOuterBlanks(m_Text.sliced(begin, m_At - begin));
}

QString TextCursor::TakeText()
{
    if (!TakeIf(u'"')) return TakePlain().toString();
    QString text = TakeQuoted();
    SkipBlanks();
    if (!AtDelimiter()) throw ValueError(Quote(Left()) + QStringLiteral(" follows a closing quote"));
    return text;
}

QString TextCursor::TakeQuoted()
{
    const QStringView quoted = Left();
    QString text;
    do {
        const qsizetype quote = m_Text.indexOf(u'"', m_At);
        if (quote < 0)
            throw ValueError(QStringLiteral("the quote before ") + Quote(quoted) + QStringLiteral(" is not closed"));
        text += m_Text.sliced(m_At, quote - m_At);
        m_At = quote + 1;
        if (m_At == m_Text.size() || m_Text[m_At] != u'"') return text;
        text += u'"';
        ++m_At;
    } while (true);
}

std::optional<qint32> TextCursor::TakeLowerBound()
{
    SkipBlanks();
    // Looks no further than the longest bound, because texts that begin with "[" may be long, and many.
    const QStringView head = Left().first(qMin(Left().size(), LongestLowerBound));
    const qsizetype close = head.startsWith(u'[') ? head.indexOf(u"..]") : -1;
    if (close < 0) return std::nullopt;
    bool ok = false;
    const qint32 lowerBound = head.sliced(1, close - 1).toInt(&ok);
    if (!ok) return std::nullopt; // "[x..]" may be a text
    m_At += close + 3;
    return lowerBound;
}

void AppendTextElement(QString& out, const QString& text)
{
    if (!NeedsQuotes(text)) {
        out += text;
        return;
    }
    out += u'"';
    for (const QChar c : text) {
        if (c == u'"') out += u'"';
        out += c;
    }
    out += u'"';
}

void AppendLowerBound(QString& out, qint32 lowerBound)
{
    if (lowerBound != 0) out += u'[' + QString::number(lowerBound) + QStringLiteral("..]");
}
