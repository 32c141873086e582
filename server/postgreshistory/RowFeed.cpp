#include "server/postgreshistory/RowFeed.h"

#include "server/postgreshistory/LayoutNames.h"

#include <kj/common.h>
#include <QSqlDriver>

#include <libpq-fe.h>

namespace {

const QString s_Types[] = {QStringLiteral("text"),      QStringLiteral("text"),   QStringLiteral("text"),
                           QStringLiteral("timestamp"), QStringLiteral("float8"), QStringLiteral("bigint"),
                           QStringLiteral("integer")};

DatabaseError ErrorOf(PGconn* connection, PGresult* result)
{
    const char* code = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    const QString text =
        QString::fromUtf8(result ? PQresultErrorMessage(result) : PQerrorMessage(connection)).trimmed();
    const QString shown = code ? QStringLiteral("%1\n(%2)").arg(text, QLatin1StringView(code)) : text;
    return DatabaseError(QSqlError(QString(), shown, QSqlError::StatementError, QString::fromLatin1(code)));
}

/// PostgreSQL cannot store NUL.
QString Storable(QStringView text)
{
    return text.toString().replace(QChar(u'\0'), QChar(0xFFFD));
}

} // namespace

PGconn* LibraryConnection(const DatabaseSession& session)
{
    // Qt names the type as the library declares it, or as its header calls it.
    const QVariant handle = session.Database().driver()->handle();
    const QByteArrayView name = handle.typeName();
    if (name != "PGconn*" && name != "pg_conn*") return nullptr;
    PGconn* connection = *static_cast<PGconn* const*>(handle.constData());
    // The library would write the database's notices to standard error, in among the lines of the log.
    PQsetNoticeProcessor(
        connection, [](void*, const char*) {}, nullptr);
    return connection;
}

RowFeed::RowFeed(const DatabaseSession& session, const QString& table)
    : m_Session(session)
    , m_Columns(static_cast<qsizetype>(std::size(s_Types)))
{
    for (const Way way : {Way::Copy, Way::Arrays}) {
        m_Way = way;
        if (way == Way::Copy && !LibraryConnection(session)) continue;
        try {
            Send(table, {QStringLiteral("controller_name")});
            return;
        } catch (const DatabaseError&) {
            // What the table itself refuses is refused, and said, whichever way is taken.
        }
    }
    m_Way = Way::Values;
}

void RowFeed::Add(QStringView text)
{
    if (m_Way != Way::Copy) return m_Columns[m_Column++].append(LayoutNames::Literal(Storable(text)));
    if (m_Column++ > 0) m_Text += '\t';
    AddEscaped(text);
}

void RowFeed::AddNull()
{
    if (m_Way != Way::Copy) return m_Columns[m_Column++].append(QStringLiteral("NULL"));
    m_Text += m_Column++ > 0 ? "\t\\N" : "\\N";
}

void RowFeed::EndRow()
{
    if (m_Way == Way::Copy) m_Text += '\n';
    m_Column = 0;
    ++m_Rows;
}

void RowFeed::Send(const QString& table, const QStringList& columns)
{
    const auto forget = kj::defer([this] {
        m_Text.truncate(0); // keeps its memory
        for (QStringList& column : m_Columns) column.clear();
        m_Rows = 0;
        m_Column = 0;
    });
    switch (m_Way) {
    case Way::Copy: return Copy(QStringLiteral("COPY %1 (%2) FROM STDIN").arg(table, columns.join(u',')));
    case Way::Arrays: return m_Session.Run(ArrayStatement(table, columns));
    case Way::Values:
        if (m_Rows > 0) m_Session.Run(ValuesStatement(table, columns));
    }
}

void RowFeed::Copy(const QString& statement)
{
    using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;
    PGconn* connection = LibraryConnection(m_Session);
    const Result begun(PQexec(connection, statement.toUtf8().constData()), &PQclear);
    if (PQresultStatus(begun.get()) != PGRES_COPY_IN) throw ErrorOf(connection, begun.get());
    const bool isSent = PQputCopyData(connection, m_Text.constData(), static_cast<int>(m_Text.size())) == 1 &&
                        PQputCopyEnd(connection, nullptr) == 1;
    Result ended(PQgetResult(connection), &PQclear);
    while (const Result further{PQgetResult(connection), &PQclear}) {
    }
    if (!isSent || PQresultStatus(ended.get()) != PGRES_COMMAND_OK) throw ErrorOf(connection, ended.get());
}

QString RowFeed::ArrayStatement(const QString& table, const QStringList& columns) const
{
    QStringList arrays;
    for (qsizetype i = 0; i < columns.size(); ++i)
        arrays.append(QStringLiteral("ARRAY[%1]::%2[]").arg(m_Columns[i].join(u','), s_Types[i]));
    return QStringLiteral("INSERT INTO %1 (%2) SELECT * FROM unnest(%3)")
        .arg(table, columns.join(u','), arrays.join(u','));
}

QString RowFeed::ValuesStatement(const QString& table, const QStringList& columns) const
{
    QStringList rows;
    for (int row = 0; row < m_Rows; ++row) {
        QStringList cells;
        for (qsizetype i = 0; i < columns.size(); ++i) cells.append(m_Columns[i][row]);
        rows.append(u'(' + cells.join(u',') + u')');
    }
    return QStringLiteral("INSERT INTO %1 (%2) VALUES %3").arg(table, columns.join(u','), rows.join(u','));
}

void RowFeed::AddEscaped(QStringView text)
{
    const bool isPlain = std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u' ' && c != u'\\'; });
    if (isPlain) {
        m_Text += text.toUtf8();
        return;
    }
    for (const char c : Storable(text).toUtf8()) {
        switch (c) {
        case '\\': m_Text += "\\\\"; break;
        case '\n': m_Text += "\\n"; break;
        case '\r': m_Text += "\\r"; break;
        case '\t': m_Text += "\\t"; break;
        default: m_Text += c;
        }
    }
}
