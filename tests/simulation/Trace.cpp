#include "tests/simulation/Trace.h"

#include "tests/simulation/DrivenTime.h"

namespace {

constexpr qsizetype LastLines = 200;

} // namespace

void Trace::Note(const QString& text)
{
    const double seconds = static_cast<double>(DrivenTime::Passed().count()) / 1e9;
    const QString line = QString::number(seconds, 'f', 9) + u' ' + text;
    for (const QChar character : line) m_Hash = (m_Hash ^ character.unicode()) * 0x100000001B3;
    ++m_Count;
    m_Lines.append(line);
    if (!m_KeepsAll && m_Lines.size() > 2 * LastLines) m_Lines.remove(0, LastLines);
}

void Trace::Require(bool holds, const QString& what)
{
    if (holds) return;
    Note(QStringLiteral("BROKEN: ") + what);
    if (m_Broken.isEmpty()) m_Broken = what;
}

void Trace::Check() const
{
    if (!m_Broken.isEmpty()) throw BrokenPromise(m_Broken);
}
