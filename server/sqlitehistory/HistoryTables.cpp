#include "server/sqlitehistory/HistoryTables.h"

#include "server/sqlitehistory/RowTable.h"
#include "server/sqlitehistory/SummaryTable.h"

#include <QRegularExpression>

#include <sqlite3.h>

HistoryTables::HistoryTables(sqlite3* connection, const QString& database, const QString& table, QString statement)
    : m_Connection(connection)
    , m_Statement(std::move(statement))
    , m_Names(PartitionFolder::Tables(database))
{
    if (!m_Names.contains(table)) m_Names.append(table);
    for (const QString& name : m_Names) AddRowTable(connection, name, PartitionFolder(database, name), false);
    const PartitionFolder folder(database, table);
    m_Names += QStringLiteral("velsql_values");
    AddRowTable(connection, m_Names.back(), folder, true);
    constexpr std::array<std::pair<QStringView, qint64>, 3> summaries = {
        {{u"velsql_minutes", Minute}, {u"velsql_hours", Hour}, {u"velsql_days", Day}}};
    for (const auto& [name, span] : summaries) {
        m_Names += name.toString();
        AddSummaryTable(connection, m_Names.back(), folder, span);
    }
    sqlite3_set_authorizer(connection, Authorize, this);
}

HistoryTables::~HistoryTables()
{
    sqlite3_set_authorizer(m_Connection, nullptr, nullptr);
}

bool HistoryTables::IsOwn(const char* name) const
{
    return m_Names.contains(QString::fromUtf8(name), Qt::CaseInsensitive);
}

QString HistoryTables::NameInStatement() const
{
    for (const QString& name : m_Names) {
        const QRegularExpression word(QStringLiteral("(?<!\\w)%1(?!\\w)").arg(QRegularExpression::escape(name)),
                                      QRegularExpression::CaseInsensitiveOption |
                                          QRegularExpression::UseUnicodePropertiesOption);
        if (m_Statement.contains(word)) return name;
    }
    return {};
}

int HistoryTables::Authorize(void* self, int action, const char* name, const char* altered, const char*, const char*)
{
    auto& tables = *static_cast<HistoryTables*>(self);
    QString wanted;
    switch (action) {
    case SQLITE_CREATE_TABLE:
    case SQLITE_CREATE_TEMP_TABLE:
    case SQLITE_CREATE_TEMP_VIEW:
    case SQLITE_CREATE_VIEW:
    case SQLITE_CREATE_VTABLE:
        if (tables.IsOwn(name)) wanted = QString::fromUtf8(name);
        break;
    case SQLITE_ALTER_TABLE: // SQLite does not say what another table is to be called
        if (!tables.IsOwn(altered)) wanted = tables.NameInStatement();
        break;
    default: return SQLITE_OK;
    }
    if (wanted.isEmpty()) return SQLITE_OK;
    tables.m_Refusal = QStringLiteral("The name %1 is that of a table of the history.").arg(wanted);
    return SQLITE_DENY;
}
