#include "server/database/Database.h"

#include "server/database/LibraryConnection.h"
#include "server/database/PasswordFile.h"
#include "server/database/PrivateFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlDriver>
#include <QSqlQuery>

#include <array>
#include <atomic>

namespace {

struct KeyName
{
    QStringView Spelled;
    QStringView Meant;
};

/// Taken by PostgreSQL's own library, as it knows them.
constexpr std::array<QStringView, 6> ForPostgreSql = {u"sslmode", u"sslrootcert", u"sslcert",
                                                      u"sslkey",  u"sslcrl",      u"passfile"};

constexpr std::array<KeyName, 17> KeyNames = {{{u"driver", u"driver"},
                                               {u"provider", u"driver"},
                                               {u"database", u"database"},
                                               {u"dbname", u"database"},
                                               {u"initial catalog", u"database"},
                                               {u"dbq", u"database"},
                                               {u"filename", u"database"},
                                               {u"server", u"server"},
                                               {u"host", u"server"},
                                               {u"servername", u"server"},
                                               {u"port", u"port"},
                                               {u"uid", u"user"},
                                               {u"user", u"user"},
                                               {u"user id", u"user"},
                                               {u"username", u"user"},
                                               {u"pwd", u"password"},
                                               {u"password", u"password"}}};

/// Mistakes are reported by their position, because after a badly quoted value even a "key" may be part of that value.
DescribedError MistakeAt(qsizetype part, const QString& what)
{
    return DescribedError(QStringLiteral("Entry %1 of the connection string %2.").arg(part).arg(what));
}

QString MeaningOf(QStringView key, qsizetype part)
{
    for (const KeyName& name : KeyNames) {
        if (key.trimmed().compare(name.Spelled, Qt::CaseInsensitive) == 0) return name.Meant.toString();
    }
    for (const QStringView name : ForPostgreSql)
        if (key.trimmed().compare(name, Qt::CaseInsensitive) == 0) return name.toString();
    throw MistakeAt(part, QStringLiteral("has an unknown key"));
}

QChar ClosingOf(QChar opening)
{
    return opening == u'{' ? u'}' : opening == u'"' || opening == u'\'' ? opening : QChar();
}

QString TakePlainValue(QStringView& rest)
{
    const qsizetype end = rest.indexOf(u';');
    const QString value = rest.left(end < 0 ? rest.size() : end).trimmed().toString();
    rest = end < 0 ? QStringView() : rest.sliced(end + 1);
    return value;
}

/// A closing mark that is doubled stands for itself.
QString TakeMarkedValue(QStringView& rest, QChar closing, qsizetype part)
{
    QString value;
    qsizetype at = 1;
    for (; at < rest.size(); ++at) {
        if (rest[at] != closing) value += rest[at];
        else if (at + 1 < rest.size() && rest[at + 1] == closing) value += rest[at++];
        else break;
    }
    if (at >= rest.size()) throw MistakeAt(part, QStringLiteral("has no closing ") + closing);
    rest = rest.sliced(at + 1).trimmed();
    if (!rest.isEmpty() && rest.front() != u';')
        throw MistakeAt(part, QStringLiteral("continues after its closing ") + closing);
    rest = rest.isEmpty() ? rest : rest.sliced(1);
    return value;
}

/// Takes the value at the beginning of `rest`, with the ";" after it.
QString TakeValue(QStringView& rest, qsizetype part)
{
    rest = rest.trimmed();
    const QChar closing = rest.isEmpty() ? QChar() : ClosingOf(rest.front());
    return closing.isNull() ? TakePlainValue(rest) : TakeMarkedValue(rest, closing, part);
}

struct Parts
{
    QMap<QString, QString> Values;
    QString Shown; ///< the whole text, with the password hidden
};

Parts ParseConnectionString(const QString& text)
{
    Parts parts;
    QStringView rest = QStringView(text).trimmed();
    for (qsizetype part = 1; !rest.isEmpty(); ++part) {
        const qsizetype equals = rest.indexOf(u'=');
        if (equals < 0) throw MistakeAt(part, QStringLiteral("has no \"=\""));
        const QString key = MeaningOf(rest.left(equals), part);
        parts.Shown += rest.left(equals + 1);
        rest = rest.sliced(equals + 1);
        const QStringView tail = rest;
        parts.Values.insert(key, TakeValue(rest, part));
        const QStringView value = tail.left(rest.isNull() ? tail.size() : rest.data() - tail.data());
        parts.Shown += key == QStringLiteral("password") ? QStringView(u"***;") : value;
        rest = rest.trimmed();
    }
    return parts;
}

/// As PostgreSQL's library takes them, in quotes. Qt makes a blank of each semicolon.
QString OptionsOf(const QMap<QString, QString>& values)
{
    QString options;
    for (const QStringView name : ForPostgreSql) {
        QString value = values.value(name.toString());
        if (value.isEmpty()) continue;
        if (value.contains(u';'))
            throw DescribedError(QStringLiteral("The connection string's %1 contains a semicolon.").arg(name));
        value.replace(u'\\', QStringLiteral("\\\\")).replace(u'\'', QStringLiteral("\\'"));
        options += QStringLiteral(";%1='%2'").arg(name, value);
    }
    return options;
}

const QString s_Postgres = QStringLiteral("QPSQL");

/// PostgreSQL takes questions over many partitions for so dear that it compiles them first, which lasts a hundred times
/// as long as the answer. Does nothing where the database knows no such thing.
const QString s_NoCompiling =
    QStringLiteral("SELECT set_config('jit', 'off', false) FROM pg_settings WHERE name = 'jit'");

QString DriverOf(const QString& name)
{
    if (name.isEmpty() || name.startsWith(u"sqlite", Qt::CaseInsensitive)) return QStringLiteral("QSQLITE");
    if (name.startsWith(u"postgres", Qt::CaseInsensitive) || name.compare(u"psql", Qt::CaseInsensitive) == 0)
        return s_Postgres;
    throw DescribedError(
        QStringLiteral("The connection string names an unknown driver: the drivers are SQLite and PostgreSQL."));
}

int PortOf(const QString& text)
{
    if (text.isEmpty()) return -1;
    bool isNumber = false;
    const int port = text.toInt(&isNumber);
    if (!isNumber || port < 1 || port > 65535)
        throw DescribedError(QStringLiteral("The connection string's port is not a port number."));
    return port;
}

/// SQLite's result codes are numbers: too big, constraint, mismatch. PostgreSQL's have five characters: classes 22 and
/// 23 are about data.
bool IsCodeOfValue(const QString& code)
{
    if (code.size() == 5) return code.startsWith(u"22") || code.startsWith(u"23");
    const int primary = code.toInt() & 0xFF;
    return primary >= 18 && primary <= 20;
}

QString NextName()
{
    static std::atomic<quint64> count = 0;
    return QStringLiteral("velsql-%1").arg(++count);
}

} // namespace

DatabaseAddress::DatabaseAddress(const QString& connectionString)
{
    const auto [parts, shown] = ParseConnectionString(connectionString);
    m_Shown = shown;
    m_Driver = DriverOf(parts.value(QStringLiteral("driver")));
    m_Database = parts.value(QStringLiteral("database"));
    m_Server = parts.value(QStringLiteral("server"));
    m_Port = PortOf(parts.value(QStringLiteral("port")));
    m_User = parts.value(QStringLiteral("user"));
    m_Password = parts.value(QStringLiteral("password"));
    m_Options = OptionsOf(parts);
    if (IsPostgreSql() && m_Password.isEmpty())
        m_UnsafeFile = UnsafePasswordFile(parts.value(QStringLiteral("passfile")));
    if (!m_UnsafeFile.isEmpty()) m_Options += QStringLiteral(";passfile='/dev/null/none'"); // never there
    if (m_Database.isEmpty()) throw DescribedError(QStringLiteral("The connection string names no database."));
}

QString DatabaseAddress::Place() const
{
    if (!IsPostgreSql()) return QStringLiteral("SQLite ") + QFileInfo(m_Database).absoluteFilePath();
    return QStringLiteral("PostgreSQL %1:%2/%3").arg(m_Server, QString::number(m_Port > 0 ? m_Port : 5432), m_Database);
}

DatabaseError::DatabaseError(const QSqlError& error)
    : DescribedError(Describe(error))
    , m_IsAboutTheValue(IsCodeOfValue(error.nativeErrorCode()))
{
}

DatabaseSession::DatabaseSession(const DatabaseAddress& address)
    : m_Name(NextName())
{
    QString failure;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(address.m_Driver, m_Name);
        if (!database.isValid()) failure = QStringLiteral("its driver is not installed");
        else Configure(database, address);
        if (failure.isEmpty() && !database.open()) failure = Describe(database.lastError());
        else if (database.driverName() == s_Postgres) {
            SilenceLibrary(database);
            QSqlQuery(database).exec(s_NoCompiling);
        }
    }
    if (failure.isEmpty()) return;
    QSqlDatabase::removeDatabase(m_Name);
    if (!address.m_UnsafeFile.isEmpty())
        failure += QStringLiteral(" The password file %1 is not used: others may read it.").arg(address.m_UnsafeFile);
    throw DescribedError(
        QStringLiteral("The history database \"%1\" cannot be opened: %2").arg(address.m_Database, failure));
}

DatabaseSession::~DatabaseSession()
{
    Database().close();
    QSqlDatabase::removeDatabase(m_Name);
}

sqlite3* DatabaseSession::SqliteHandle() const
{
    return SqliteHandleOf(*Database().driver());
}

sqlite3* SqliteHandleOf(const QSqlDriver& driver)
{
    const QVariant handle = driver.handle();
    return handle.typeName() == QByteArrayView("sqlite3*") ? *static_cast<sqlite3* const*>(handle.constData())
                                                           : nullptr;
}

void DatabaseSession::Run(const QString& statement) const
{
    QSqlQuery query(Database());
    if (!query.exec(statement)) throw DatabaseError(query.lastError());
}

QVariant DatabaseSession::Ask(const QString& question) const
{
    QSqlQuery query(Database());
    if (!query.exec(question)) throw DatabaseError(query.lastError());
    return query.next() ? query.value(0) : QVariant();
}

void DatabaseSession::Configure(QSqlDatabase& database, const DatabaseAddress& address) const
{
    database.setDatabaseName(address.m_Database);
    if (address.IsPostgreSql()) {
        database.setHostName(address.m_Server);
        if (address.m_Port > 0) database.setPort(address.m_Port);
        database.setUserName(address.m_User);
        database.setPassword(address.m_Password);
        // By default notices and warnings would go to standard error, past the log. Statements are read with the
        // standard's quoting rules.
        database.setConnectOptions(
            QStringLiteral("connect_timeout=5;keepalives_idle=30;tcp_user_timeout=30000;options='-c "
                           "client_min_messages=error -c standard_conforming_strings=on'") +
            address.m_Options);
    } else {
        MakePrivateFile(address.m_Database);
        MendSharedMemoryFile(address.m_Database);
        database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    }
}

QString Describe(const QSqlError& error)
{
    const QString text = error.databaseText().trimmed();
    const bool saysNothing = text.isEmpty() || text == u"()" || text == u"not an error";
    return saysNothing ? error.driverText().trimmed() : text;
}
