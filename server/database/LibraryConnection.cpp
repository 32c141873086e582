#include "server/database/LibraryConnection.h"

#include <QSqlDriver>

#include <libpq-fe.h>

PGconn* LibraryConnection(const QSqlDatabase& database)
{
    // Qt names the type as the library declares it, or as its header calls it.
    const QVariant handle = database.driver()->handle();
    const QByteArrayView name = handle.typeName();
    if (name != "PGconn*" && name != "pg_conn*") return nullptr;
    return *static_cast<PGconn* const*>(handle.constData());
}

void SilenceLibrary(const QSqlDatabase& database)
{
    if (PGconn* connection = LibraryConnection(database))
        PQsetNoticeProcessor(
            connection, [](void*, const char*) {}, nullptr);
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
