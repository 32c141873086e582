#include "server/postgreshistory/LayoutNames.h"

#include <QRegularExpression>
#include <QTimeZone>

namespace {

QString Quoted(QString name)
{
    return u'"' + name.replace(u'"', QStringLiteral("\"\"")) + u'"';
}

QString Zone()
{
    const QByteArray zone = QTimeZone::systemTimeZoneId();
    return zone.isEmpty() ? QStringLiteral("UTC") : QString::fromLatin1(zone);
}

} // namespace

LayoutNames::LayoutNames(const QString& table)
    : m_Table(table.section(u'.', -1))
{
    if (table.contains(u'.')) m_Schema = Quoted(table.section(u'.', 0, -2)) + u'.';
}

QString LayoutNames::Fill(const QString& statement) const
{
    static const QRegularExpression part(QStringLiteral("\\{(\\w+)\\}"));
    QString filled;
    qsizetype at = 0;
    for (const auto& match : part.globalMatch(statement)) {
        filled += QStringView(statement).sliced(at, match.capturedStart() - at);
        filled += match.captured(1) == u"zone" ? Literal(Zone()) : Of(match.captured(1));
        at = match.capturedEnd();
    }
    return filled.append(QStringView(statement).sliced(at));
}

QString LayoutNames::Bare(const QString& part) const
{
    if (part == u"history") return m_Table;
    const bool isUsual = m_Table == u"velsql_history";
    return (isUsual ? QStringLiteral("velsql") : m_Table) + u'_' + part;
}

QString LayoutNames::Of(const QString& part) const
{
    return m_Schema + Quoted(Bare(part));
}

QString LayoutNames::Literal(const QString& text)
{
    return u'\'' + QString(text).replace(u'\'', QStringLiteral("''")) + u'\'';
}
