#include "server/postgreshistory/LibraryConnection.h"

#include <QSqlDriver>

#include <libpq-fe.h>

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

DatabaseError ErrorOf(const PGconn* connection, const PGresult* result)
{
    const char* code = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    const QString text =
        QString::fromUtf8(result ? PQresultErrorMessage(result) : PQerrorMessage(connection)).trimmed();
    const QString shown = code ? QStringLiteral("%1\n(%2)").arg(text, QLatin1StringView(code)) : text;
    // A row that no partition is for violates a check, too; but that is no fault of the row.
    const bool hasNoPlace = QByteArrayView(code) == "23514" && !PQresultErrorField(result, PG_DIAG_CONSTRAINT_NAME);
    return DatabaseError(
        QSqlError(QString(), shown, QSqlError::StatementError, hasNoPlace ? QString() : QString::fromLatin1(code)));
}
