#include "server/plantfile/Mistakes.h"

namespace {

constexpr qsizetype MostInAFile = 1000;
constexpr qsizetype MostInALine = 10; // a range makes the same mistake for each of its items

} // namespace

Mistakes::Mistakes(QString file)
    : m_File(std::move(file))
{
}

void Mistakes::Add(int line, const QString& text)
{
    QString what = text;
    for (QChar& character : what) // each mistake is a line, whatever names it quotes
        if (character < u' ') character = u' ';
    const QStringList there = m_Texts.value(line);
    if (there.contains(what)) return; // what is read twice is said once
    if (m_Count < MostInAFile && there.size() < MostInALine) {
        m_Texts[line].append(what);
        ++m_Count;
    } else {
        m_HasMore = true;
    }
}

Mistakes& Mistakes::Of(const QString& file)
{
    for (Mistakes& other : m_Others) {
        if (other.m_File == file) return other;
    }
    return m_Others.emplace_back(file);
}

bool Mistakes::IsEmpty() const
{
    return m_Count == 0 &&
           std::all_of(m_Others.begin(), m_Others.end(), [](const Mistakes& other) { return other.IsEmpty(); });
}

QStringList Mistakes::Texts() const
{
    QStringList texts;
    for (auto line = m_Texts.begin(); line != m_Texts.end(); ++line) {
        for (const QString& what : line.value())
            texts.append(QStringLiteral("%1:%2: %3").arg(m_File, QString::number(line.key()), what));
    }
    if (m_HasMore) texts.append(QStringLiteral("%1: there are more mistakes of this kind").arg(m_File));
    for (const Mistakes& other : m_Others) texts += other.Texts();
    return texts;
}

void Place::Refuse(const char* key, const QString& what) const
{
    File->Add(Line, QStringLiteral("%1: %2").arg(QString::fromUtf8(key), what));
}
