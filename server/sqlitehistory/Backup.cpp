#include "server/sqlitehistory/Backup.h"

#include "server/sqlitehistory/HistoryTables.h"
#include "server/sqlitehistory/PartitionFolder.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

void CopyRows(const SqliteConnection& backup, const QString& database, const QString& table)
{
    const HistoryTables tables(backup.Handle(), database, table, QString());
    backup.Run("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF;"
               "CREATE TABLE saved_values (controller_name TEXT, item_name TEXT, item_value NUMERIC, item_time TEXT,"
               " item_utc INTEGER, item_state INTEGER);"
               "INSERT INTO saved_values SELECT controller_name, item_name, item_value, item_time, item_utc, item_state"
               " FROM velsql_values;");
}

/// Rows that are still being taken over would be missing.
void RefuseWhileTakenOver(const SqliteConnection& backup, const QString& database, const QString& old)
{
    SqliteStatement attach(backup, "ATTACH ? AS source");
    const QByteArray path = QFile::encodeName(database);
    attach.BindText(1, path).Run();
    if (backup.Ask("SELECT count(*) FROM source.sqlite_master WHERE name = '" +
                   QString(old).replace(u'\'', QStringLiteral("''")).toUtf8() + '\'') > 0)
        throw DescribedError(
            QStringLiteral("The rows of %1 are still being taken over: back up when that is done.").arg(old));
    backup.Run("DETACH source");
}

/// A file, or a folder's names, which some file systems keep without being asked.
void WriteToDisk(const QString& path)
{
    const int file = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    const bool isThere = file >= 0 && (fsync(file) == 0 || errno == EINVAL);
    if (file >= 0) close(file);
    if (!isThere) throw DescribedError(QStringLiteral("%1 could not be written to the disk.").arg(path));
}

qint64 Write(const HistoryDestination& from, const QString& path)
{
    const QString database = DatabaseAddress(from.ConnectionString).Database();
    const SqliteConnection backup(path, SqliteConnection::Access::Create);
    RefuseWhileTakenOver(backup, database, from.TableName + QStringLiteral("_old"));
    CopyRows(backup, database, from.TableName);
    const QByteArray name = '"' + QString(from.TableName).replace(u'"', QStringLiteral("\"\"")).toUtf8() + '"';
    backup.Run("ALTER TABLE saved_values RENAME TO velsql_values;"
               "CREATE VIEW " +
               name + " AS SELECT controller_name, item_name, item_value, item_time FROM velsql_values");
    return backup.Ask("SELECT count(*) FROM velsql_values");
}

} // namespace

qint64 BackUpHistory(const HistoryDestination& from, const QString& path)
{
    const QString unfinished = path + QStringLiteral(".unfinished");
    if (QFile::exists(path)) throw DescribedError(QStringLiteral("%1 exists already.").arg(path));
    const QString database = DatabaseAddress(from.ConnectionString).Database();
    if (!QFile::exists(database)) throw DescribedError(QStringLiteral("There is no history %1.").arg(database));
    QFile::remove(unfinished);
    QString made = unfinished;
    try {
        const qint64 rows = Write(from, unfinished);
        WriteToDisk(unfinished);
        // Not by Qt, which would make another copy where it cannot rename, one that has not reached the disk.
        if (std::rename(QFile::encodeName(unfinished).constData(), QFile::encodeName(path).constData()) != 0)
            throw DescribedError(QStringLiteral("%1 cannot be written: %2").arg(path, qt_error_string(errno)));
        made = path;
        WriteToDisk(QFileInfo(path).path());
        return rows;
    } catch (...) {
        QFile::remove(made);
        throw;
    }
}
