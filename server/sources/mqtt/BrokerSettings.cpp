#include "server/sources/mqtt/BrokerSettings.h"

#include <QDir>
#include <QFileInfo>

namespace {

constexpr int PlainPort = 1883;
constexpr int EncryptedPort = 8883;

/// Empty when it is not given; noted when it cannot be read.
QString ReadFileName(SourceSettings& settings, const char* key)
{
    if (!settings.Has(key)) return settings.Text(key);
    const QString name = settings.Name(key);
    if (name.isEmpty()) return name;
    const QString path = QDir(settings.Folder()).absoluteFilePath(name);
    const QFileInfo file(path);
    if (!file.isFile() || !file.isReadable())
        settings.Refuse(key, QStringLiteral("%1 is no file that can be read").arg(path));
    return path;
}

void ReadEncryption(SourceSettings& settings, BrokerSettings& broker)
{
    broker.AuthorityFile = ReadFileName(settings, "ca_file");
    broker.CertificateFile = ReadFileName(settings, "certificate_file");
    broker.KeyFile = ReadFileName(settings, "key_file");
    broker.ChecksName = settings.Flag("check_name", true);
    const bool isAsked = settings.Has("ca_file") || settings.Has("certificate_file");
    broker.IsEncrypted = settings.Flag("tls", isAsked);
    if (isAsked && !broker.IsEncrypted) settings.Refuse("tls", QStringLiteral("ca_file and certificate_file need it"));
    if (settings.Has("certificate_file") != settings.Has("key_file"))
        settings.Refuse(settings.Has("key_file") ? "key_file" : "certificate_file",
                        QStringLiteral("certificate_file and key_file belong together"));
}

} // namespace

QString BrokerSettings::Address() const
{
    return QStringLiteral("%1://%2:%3")
        .arg(QLatin1StringView(IsEncrypted ? "mqtts" : "mqtt"), Host, QString::number(Port));
}

QString BrokerSettings::Unreachable(const QString& why) const
{
    return QStringLiteral("the broker at %1 cannot be reached: %2").arg(Address(), why);
}

std::optional<BrokerSettings> ReadBrokerSettings(SourceSettings& settings)
{
    BrokerSettings broker;
    broker.Host = settings.Name("host");
    ReadEncryption(settings, broker);
    broker.Port = settings.Integer("port", 1, 65535, broker.IsEncrypted ? EncryptedPort : PlainPort);
    broker.User = settings.Text("user");
    broker.PasswordFile = ReadFileName(settings, "password_file");
    if (!broker.PasswordFile.isEmpty() && broker.User.isEmpty())
        settings.Refuse("password_file", QStringLiteral("a password needs a user"));
    broker.ClientId = settings.Text("client_id");
    broker.IsVersion5 = settings.Choice("version", {QStringLiteral("3.1.1"), QStringLiteral("5")}, 0) == 1;
    broker.KeepAlive = std::chrono::seconds(settings.Integer("keepalive", 5, 3600, 30));
    broker.TimeOut = std::chrono::milliseconds(settings.Seconds("timeout", 100, 600'000, 5000));
    broker.LongestPause = std::chrono::milliseconds(settings.Seconds("retry_pause", 100, 3'600'000, 2000));
    broker.TakesWrites = settings.Flag("write", true);
    if (broker.Host.isEmpty()) return std::nullopt;
    return broker;
}
