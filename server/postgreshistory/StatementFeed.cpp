#include "server/postgreshistory/StatementFeed.h"

#include "server/postgreshistory/LayoutNames.h"
#include "server/postgreshistory/RowColumns.h"

namespace {

const QString s_Types[] = {QStringLiteral("text"),      QStringLiteral("text"),   QStringLiteral("text"),
                           QStringLiteral("timestamp"), QStringLiteral("float8"), QStringLiteral("bigint"),
                           QStringLiteral("integer")};

QString Literal(const QString& text)
{
    return LayoutNames::Literal(Storable(text));
}

} // namespace

StatementFeed::StatementFeed(Way way, const DatabaseSession& session, bool isOwn)
    : m_Way(way)
    , m_Session(session)
    , m_IsOwn(isOwn)
    , m_Columns(isOwn ? 7 : 4)
{
}

void StatementFeed::Begin(const QString& table)
{
    Abandon();
    m_Table = table;
}

void StatementFeed::Add(const PostgresRow& row)
{
    const QString null = QStringLiteral("NULL");
    QStringList cells = {Literal(row.Controller), Literal(row.Item), row.Value ? Literal(*row.Value) : null,
                         u'\'' + m_Clock.Spell(row.Local) + u'\''};
    if (m_IsOwn)
        cells += {row.Number ? SpelledNumber(*row.Number) : null, QString::number(row.Utc), QString::number(row.State)};
    for (qsizetype i = 0; i < cells.size(); ++i) m_Columns[i].append(cells[i]);
}

void StatementFeed::End()
{
    const auto isWanted = m_Way == Way::Arrays || !m_Columns[0].isEmpty();
    const QString statement = m_Way == Way::Arrays ? ArrayStatement() : ValuesStatement();
    Abandon();
    if (isWanted) m_Session.Run(statement);
}

void StatementFeed::Abandon()
{
    for (QStringList& column : m_Columns) column.clear();
}

QString StatementFeed::ArrayStatement() const
{
    QStringList arrays;
    for (qsizetype i = 0; i < m_Columns.size(); ++i)
        arrays.append(QStringLiteral("ARRAY[%1]::%2[]").arg(m_Columns[i].join(u','), s_Types[i]));
    return QStringLiteral("INSERT INTO %1 (%2) SELECT * FROM unnest(%3)")
        .arg(m_Table, RowColumns(m_IsOwn), arrays.join(u','));
}

QString StatementFeed::ValuesStatement() const
{
    QStringList rows;
    for (qsizetype row = 0; row < m_Columns[0].size(); ++row) {
        QStringList cells;
        for (const QStringList& column : m_Columns) cells.append(column[row]);
        rows.append(u'(' + cells.join(u',') + u')');
    }
    return QStringLiteral("INSERT INTO %1 (%2) VALUES %3").arg(m_Table, RowColumns(m_IsOwn), rows.join(u','));
}
