#include "scripttool/velsqlscript/CommentLines.h"

#include <QList>

#include <algorithm>
#include <array>

namespace {

bool IsLineEnd(QChar c)
{
    return c == u'\n' || c == u'\r' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

/// Scans a script and knows what a quote means at each position.
class CommentScanner
{
public:
    explicit CommentScanner(const QString& script)
        : m_Script(script)
    {
    }

    QString Run()
    {
        while (!AtEnd()) m_InTemplate ? StepInTemplate() : StepInCode();
        return std::move(m_Result);
    }

private:
    bool AtEnd() const { return m_At >= m_Script.size(); }
    QChar Now() const { return m_Script[m_At]; }
    bool NextIs(QChar c) const { return m_At + 1 < m_Script.size() && m_Script[m_At + 1] == c; }

    void Keep()
    {
        if (IsLineEnd(Now())) m_LineIsBlank = true;
        else if (!Now().isSpace()) m_LineIsBlank = false;
        m_Result += m_Script[m_At++];
    }
    void KeepEscaped()
    {
        Keep();
        if (!AtEnd()) Keep();
    }

    void StepInCode()
    {
        const QChar c = Now();
        if (c == u'\'' && m_LineIsBlank) return SkipLine();
        if (c == u'/' && NextIs(u'/')) return KeepLine();
        if (c == u'/' && NextIs(u'*')) return KeepBlockComment();
        if (c == u'"' || c == u'\'') KeepQuoted(c);
        else if (c == u'/' && BeginsRegularExpression()) KeepRegularExpression();
        else if (c == u'`') EnterTemplate();
        else if (c == u'{' || c == u'}') KeepBrace();
        else Keep();
        if (!c.isSpace()) m_CodeEnd = m_Result.size();
    }

    void StepInTemplate()
    {
        if (Now() == u'\\') return KeepEscaped();
        if (Now() == u'`') m_InTemplate = false;
        if (Now() == u'$' && NextIs(u'{')) {
            Keep();
            m_TemplateDepths.append(m_Depth++);
            m_InTemplate = false;
        }
        Keep();
        m_CodeEnd = m_Result.size();
    }

    void SkipLine()
    {
        while (!AtEnd() && !IsLineEnd(Now())) ++m_At;
    }
    void KeepLine()
    {
        while (!AtEnd() && !IsLineEnd(Now())) Keep();
    }

    void KeepBlockComment()
    {
        KeepEscaped(); // both characters of its beginning
        while (!AtEnd() && !(Now() == u'*' && NextIs(u'/'))) Keep();
        if (!AtEnd()) KeepEscaped();
    }

    void KeepQuoted(QChar quote)
    {
        Keep();
        while (!AtEnd() && Now() != quote && !IsLineEnd(Now())) Now() == u'\\' ? KeepEscaped() : Keep();
        if (!AtEnd() && Now() == quote) Keep();
    }

    void KeepRegularExpression()
    {
        bool inClass = false;
        Keep();
        while (!AtEnd() && !IsLineEnd(Now()) && (inClass || Now() != u'/')) {
            if (Now() == u'[') inClass = true;
            if (Now() == u']') inClass = false;
            Now() == u'\\' ? KeepEscaped() : Keep();
        }
        if (!AtEnd() && Now() == u'/') Keep();
    }

    void EnterTemplate()
    {
        Keep();
        m_InTemplate = true;
    }

    void KeepBrace()
    {
        if (Now() == u'{') ++m_Depth;
        else --m_Depth;
        if (Now() == u'}' && !m_TemplateDepths.isEmpty() && m_TemplateDepths.last() == m_Depth) {
            m_TemplateDepths.removeLast();
            m_InTemplate = true;
        }
        Keep();
    }

    /// A "/" after a value is a division. This is guessed from the code before it, without a grammar; a wrong guess
    /// affects one line at most.
    bool BeginsRegularExpression() const
    {
        const QStringView code = QStringView(m_Result).first(m_CodeEnd);
        if (code.isEmpty() || QStringView(u"([{}=,;:!&|?+-*%^~<>").contains(code.last())) return true;
        constexpr std::array<QStringView, 6> Keywords = {u"return", u"typeof", u"case", u"in", u"of", u"throw"};
        return std::any_of(Keywords.begin(), Keywords.end(), [&](QStringView word) {
            const qsizetype before = code.size() - word.size() - 1;
            return code.endsWith(word) && (before < 0 || !code[before].isLetterOrNumber());
        });
    }

    const QString& m_Script;
    QString m_Result;
    qsizetype m_At = 0;
    /// The position after the last character of code so far.
    qsizetype m_CodeEnd = 0;
    bool m_LineIsBlank = true;
    bool m_InTemplate = false;
    int m_Depth = 0;
    QList<int> m_TemplateDepths;
};

} // namespace

QString WithoutCommentLines(const QString& script)
{
    return CommentScanner(script).Run();
}
