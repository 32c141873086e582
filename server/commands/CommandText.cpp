#include "server/commands/CommandText.h"

#include "core/automation/Errors.h"

CommandText::CommandText(const QString& text)
    : m_Text(text)
    , m_Rest(m_Text)
{
}

QString CommandText::Word(const char16_t* what)
{
    while (!m_Rest.isEmpty() && m_Rest.front().isSpace()) m_Rest = m_Rest.sliced(1);
    if (m_Rest.isEmpty()) throw DescribedError(QStringLiteral("The command lacks %1.").arg(QStringView(what)));
    QString word;
    if (m_Rest.front() != u'"') {
        const qsizetype end = m_Rest.indexOf(u' ');
        word = m_Rest.left(end < 0 ? m_Rest.size() : end).trimmed().toString(); // without a line end
        m_Rest = end < 0 ? QStringView() : m_Rest.sliced(end + 1);
        return word;
    }
    qsizetype at = 1;
    for (; at < m_Rest.size(); ++at) {
        const bool isQuote = m_Rest[at] == u'"';
        const bool isDoubled = isQuote && at + 1 < m_Rest.size() && m_Rest[at + 1] == u'"';
        if (isQuote && !isDoubled) break;
        word += m_Rest[at];
        if (isDoubled) ++at;
    }
    m_Rest = m_Rest.sliced(qMin(at + 2, m_Rest.size()));
    return word;
}

qint32 CommandText::Number(const char16_t* what, qint32 lowest)
{
    const QString word = Word(what);
    bool isNumber = false;
    const qint32 number = word.toInt(&isNumber);
    if (!isNumber || number < lowest)
        throw DescribedError(QStringLiteral("%1 must be a whole number from %2 on, not \"%3\".")
                                 .arg(QStringView(what))
                                 .arg(lowest)
                                 .arg(word));
    return number;
}

QString CommandText::Rest()
{
    const QString rest = m_Rest.toString();
    m_Rest = {};
    return rest;
}
