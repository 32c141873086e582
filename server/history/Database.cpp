#include "server/history/Database.h"

#include "core/automation/Errors.h"

#include <QDir>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>

#include <array>
#include <atomic>

namespace {

struct KeyName
{
    QStringView Spelled;
    QStringView Meant;
};

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

QString MeaningOf(const QString& key)
{
    for (const KeyName& name : KeyNames) {
        if (key.trimmed().compare(name.Spelled, Qt::CaseInsensitive) == 0) return name.Meant.toString();
    }
    throw DescribedError(QStringLiteral("The connection string has an unknown key \"%1\".").arg(key.trimmed()));
}

QChar ClosingOf(QChar opening)
{
    return opening == u'{' ? u'}' : opening == u'"' || opening == u'\'' ? opening : QChar();
}

/// Takes the value at the head of `rest` up to its ";"; a closing mark that stands twice means itself.
QString TakeValue(QStringView& rest)
{
    rest = rest.trimmed();
    const QChar closing = rest.isEmpty() ? QChar() : ClosingOf(rest.front());
    QString value;
    if (closing.isNull()) {
        const qsizetype end = rest.indexOf(u';');
        value = rest.left(end < 0 ? rest.size() : end).trimmed().toString();
        rest = end < 0 ? QStringView() : rest.sliced(end + 1);
        return value;
    }
    qsizetype at = 1;
    for (; at < rest.size(); ++at) {
        if (rest[at] != closing) value += rest[at];
        else if (at + 1 < rest.size() && rest[at + 1] == closing) value += rest[at++];
        else break;
    }
    if (at >= rest.size())
        throw DescribedError(QStringLiteral("A value of the connection string has no closing %1.").arg(closing));
    rest = rest.sliced(at + 1).trimmed();
    if (!rest.isEmpty() && rest.front() != u';')
        throw DescribedError(QStringLiteral("Behind a value of the connection string stands \"%1\".").arg(rest));
    rest = rest.isEmpty() ? rest : rest.sliced(1);
    return value;
}

QMap<QString, QString> ParseConnectionString(const QString& text)
{
    QMap<QString, QString> parts;
    QStringView rest = QStringView(text).trimmed();
    while (!rest.isEmpty()) {
        const qsizetype equals = rest.indexOf(u'=');
        if (equals < 0) throw DescribedError(QStringLiteral("The connection string has no \"=\" in \"%1\".").arg(rest));
        const QString key = MeaningOf(rest.left(equals).toString());
        rest = rest.sliced(equals + 1);
        parts.insert(key, TakeValue(rest));
        rest = rest.trimmed();
    }
    return parts;
}

QString DriverOf(const QString& name)
{
    if (name.isEmpty() || name.startsWith(u"sqlite", Qt::CaseInsensitive)) return QStringLiteral("QSQLITE");
    if (name.startsWith(u"postgres", Qt::CaseInsensitive) || name.compare(u"psql", Qt::CaseInsensitive) == 0)
        return QStringLiteral("QPSQL");
    throw DescribedError(
        QStringLiteral("The connection string names the driver \"%1\"; there are SQLite and PostgreSQL.").arg(name));
}

int PortOf(const QString& text)
{
    if (text.isEmpty()) return -1;
    bool isNumber = false;
    const int port = text.toInt(&isNumber);
    if (!isNumber || port < 1 || port > 65535)
        throw DescribedError(QStringLiteral("The connection string's port \"%1\" is no port number.").arg(text));
    return port;
}

QString NextName()
{
    static std::atomic<quint64> count = 0;
    return QStringLiteral("velsql-%1").arg(++count);
}

} // namespace

DatabaseAddress::DatabaseAddress(const QString& connectionString)
    : m_Text(connectionString)
{
    const auto parts = ParseConnectionString(connectionString);
    m_Driver = DriverOf(parts.value(QStringLiteral("driver")));
    m_Database = parts.value(QStringLiteral("database"));
    m_Server = parts.value(QStringLiteral("server"));
    m_Port = PortOf(parts.value(QStringLiteral("port")));
    m_User = parts.value(QStringLiteral("user"));
    m_Password = parts.value(QStringLiteral("password"));
    if (m_Database.isEmpty()) throw DescribedError(QStringLiteral("The connection string names no database."));
}

QString DatabaseAddress::Shown() const
{
    return m_Password.isEmpty() ? m_Text : QString(m_Text).replace(m_Password, QStringLiteral("***"));
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
    }
    if (failure.isEmpty()) return;
    QSqlDatabase::removeDatabase(m_Name);
    throw DescribedError(
        QStringLiteral("The history database \"%1\" cannot be opened: %2").arg(address.m_Database, failure));
}

DatabaseSession::~DatabaseSession()
{
    Database().close();
    QSqlDatabase::removeDatabase(m_Name);
}

void DatabaseSession::Run(const QString& statement) const
{
    QSqlQuery query(Database());
    if (!query.exec(statement)) throw DescribedError(Describe(query.lastError()));
}

void DatabaseSession::Configure(QSqlDatabase& database, const DatabaseAddress& address) const
{
    database.setDatabaseName(address.m_Database);
    if (address.IsPostgreSql()) {
        database.setHostName(address.m_Server);
        if (address.m_Port > 0) database.setPort(address.m_Port);
        database.setUserName(address.m_User);
        database.setPassword(address.m_Password);
        database.setConnectOptions(QStringLiteral("connect_timeout=5"));
    } else {
        QDir().mkpath(QFileInfo(address.m_Database).absolutePath());
        database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    }
}

QString Describe(const QSqlError& error)
{
    const QString text = error.databaseText().trimmed();
    return text.isEmpty() ? error.driverText().trimmed() : text;
}
