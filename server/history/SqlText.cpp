#include "server/history/SqlText.h"

#include "core/automation/Errors.h"

namespace {

bool IsBlank(QChar c)
{
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

bool IsOfWord(QChar c)
{
    return c.isLetterOrNumber() || c == u'_' || c == u'$' || c.unicode() >= 0x80;
}

/// Splits a statement into words, quoted texts and signs; comments count as blanks.
class SqlWords
{
public:
    SqlWords(QStringView text, bool isPostgreSql)
        : m_Text(text)
        , m_IsPostgreSql(isPostgreSql)
    {
    }

    /// Where the last word ended.
    qsizetype At() const { return m_At; }

    /// Empty at the end.
    QStringView Next()
    {
        SkipBlanks();
        const qsizetype begin = m_At;
        if (m_At < m_Text.size()) Step();
        return m_Text.sliced(begin, m_At - begin);
    }

private:
    QChar Look(qsizetype ahead = 0) const { return m_At + ahead < m_Text.size() ? m_Text[m_At + ahead] : QChar(); }

    void SkipBlanks()
    {
        for (;;) {
            if (IsBlank(Look())) ++m_At;
            else if (Look() == u'-' && Look(1) == u'-') SkipLine();
            else if (Look() == u'/' && Look(1) == u'*') SkipComment();
            else return;
        }
    }

    void SkipLine()
    {
        while (m_At < m_Text.size() && Look() != u'\n' && !(m_IsPostgreSql && Look() == u'\r')) ++m_At;
    }

    /// PostgreSQL's comments nest.
    void SkipComment()
    {
        int depth = 0;
        while (m_At < m_Text.size()) {
            const bool opens = Look() == u'/' && Look(1) == u'*' && (m_IsPostgreSql || depth == 0);
            const bool closes = Look() == u'*' && Look(1) == u'/';
            m_At += opens || closes ? 2 : 1;
            if (opens) ++depth;
            if (closes && --depth == 0) return;
        }
    }

    void Step()
    {
        const QChar c = Look();
        if (c == u'\'' || c == u'"' || (!m_IsPostgreSql && c == u'`')) return SkipQuoted(c, false);
        if (!m_IsPostgreSql && c == u'[') return SkipBehind(u"]");
        if (m_IsPostgreSql && c == u'$' && SkipDollarQuoted()) return;
        if (!IsOfWord(c)) return void(++m_At);
        const qsizetype begin = m_At;
        while (IsOfWord(Look())) ++m_At;
        const bool isEscape = m_At - begin == 1 && c.toLower() == u'e' && Look() == u'\'';
        if (m_IsPostgreSql && isEscape) SkipQuoted(u'\'', true);
    }

    void SkipQuoted(QChar mark, bool hasEscapes)
    {
        for (++m_At; m_At < m_Text.size(); ++m_At) {
            if (hasEscapes && Look() == u'\\') ++m_At;
            else if (Look() == mark && Look(1) == mark) ++m_At;
            else if (Look() == mark) return void(++m_At);
        }
        m_At = m_Text.size();
    }

    /// $tag$ ... $tag$; false for a "$" that does not begin a quoted text.
    bool SkipDollarQuoted()
    {
        qsizetype end = m_At + 1;
        while (end < m_Text.size() && m_Text[end] != u'$' && IsOfWord(m_Text[end])) ++end;
        if (end >= m_Text.size() || m_Text[end] != u'$' || Look(1).isDigit()) return false;
        const QStringView tag = m_Text.sliced(m_At, end + 1 - m_At);
        m_At = end + 1;
        SkipBehind(tag);
        return true;
    }

    void SkipBehind(QStringView mark)
    {
        const qsizetype found = m_Text.indexOf(mark, m_At);
        m_At = found < 0 ? m_Text.size() : found + mark.size();
    }

    const QStringView m_Text;
    const bool m_IsPostgreSql;
    qsizetype m_At = 0;
};

bool Is(QStringView word, QStringView wanted)
{
    return word.compare(wanted, Qt::CaseInsensitive) == 0;
}

/// Receives the words of a statement one after the other.
class CopyWatch
{
public:
    bool IsClientCopy(QStringView word)
    {
        if (m_IsFirst) m_IsCopy = Is(word, u"copy");
        m_IsFirst = word == u";";
        const bool isClient = m_IsCopy && m_IsBehindDirection && (Is(word, u"stdin") || Is(word, u"stdout"));
        m_IsBehindDirection = Is(word, u"to") || Is(word, u"from");
        return isClient;
    }

private:
    bool m_IsFirst = true;
    bool m_IsCopy = false;
    bool m_IsBehindDirection = false;
};

} // namespace

QString CheckedStatement(const QString& statement, bool isPostgreSql)
{
    const qsizetype end = statement.indexOf(QChar(u'\0')); // the databases' libraries stop there
    const QStringView text = QStringView(statement).left(end < 0 ? statement.size() : end);
    SqlWords words(text, isPostgreSql);
    CopyWatch copies;
    qsizetype used = 0;
    for (QStringView word = words.Next(); !word.isEmpty(); word = words.Next()) {
        if (word != u";") used = words.At();
        if (isPostgreSql && copies.IsClientCopy(word))
            throw DescribedError(QStringLiteral("COPY cannot read from or write to the client here: name a file of the "
                                                "database's machine, or use SELECT and INSERT."));
    }
    if (used == 0) throw DescribedError(QStringLiteral("The statement is empty."));
    return text.left(used).toString();
}
