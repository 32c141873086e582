#include "server/sources/mqtt/BrokerClient.h"

#include "core/automation/Errors.h"
#include "server/sources/mqtt/Payload.h"

#include <mosquitto.h>
#include <mqtt_protocol.h>
#include <poll.h>
#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

/// How many packets are read before the socket is looked at again.
constexpr int PacketsInARow = 64;
/// Messages that a broker may leave without an answer; further ones wait for these.
constexpr int MostUnderWay = 250;
/// Reasons and grants from here on are refusals.
constexpr int FirstRefusal = 128;

struct Library
{
    Library() { mosquitto_lib_init(); }
    ~Library() { mosquitto_lib_cleanup(); }
};

QString WithoutStop(const char* text)
{
    QString said = QString::fromUtf8(text).trimmed();
    while (said.endsWith(u'.')) said.chop(1);
    return said;
}

QByteArray ClientId(const BrokerSettings& settings)
{
    if (!settings.ClientId.isEmpty()) return settings.ClientId.toUtf8();
    return "velsql-" + QByteArray::number(QRandomGenerator::system()->generate64(), 16).left(12);
}

QByteArray FirstLineOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw DescribedError(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
    QByteArray line = file.readLine();
    while (line.endsWith('\n') || line.endsWith('\r')) line.chop(1);
    return line;
}

/// Whether the library will never send what it does not send with this code.
bool IsForGood(int code)
{
    constexpr int Passing[] = {MOSQ_ERR_NO_CONN, MOSQ_ERR_CONN_LOST, MOSQ_ERR_ERRNO, MOSQ_ERR_TLS, MOSQ_ERR_NOMEM};
    return std::ranges::find(Passing, code) == std::end(Passing);
}

/// Null for an empty name, as the library wants it.
const char* NameOrNull(const QByteArray& name)
{
    return name.isEmpty() ? nullptr : name.constData();
}

QString LateText(const BrokerSettings& settings)
{
    return QStringLiteral("the broker has not acknowledged it within %1 seconds; it may still have it")
        .arg(static_cast<double>(settings.TimeOut.count()) / 1000.0);
}

/// A key that is encrypted cannot be used; nobody is asked for its password.
int RefuseKeyPassword(char*, int, int, void*)
{
    return 0;
}

} // namespace

void BrokerClient::Deleter::operator()(mosquitto* client) const
{
    mosquitto_destroy(client);
}

BrokerClient::BrokerClient(const BrokerSettings& settings, Handler& handler)
    : m_Handler(handler)
    , m_Settings(settings)
{
    static const Library library;
    m_Client.reset(mosquitto_new(ClientId(settings).constData(), true, this));
    if (!m_Client) throw DescribedError(QStringLiteral("client_id is none"));
    Check(mosquitto_int_option(m_Client.get(), MOSQ_OPT_PROTOCOL_VERSION,
                               settings.IsVersion5 ? MQTT_PROTOCOL_V5 : MQTT_PROTOCOL_V311));
    Check(mosquitto_int_option(m_Client.get(), MOSQ_OPT_TCP_NODELAY, 1));
    Check(mosquitto_int_option(m_Client.get(), MOSQ_OPT_SEND_MAXIMUM, MostUnderWay));
    Encrypt(settings);
    LogIn(settings);
    Listen();
    Check(mosquitto_connect_async(m_Client.get(), settings.Host.toUtf8().constData(), settings.Port,
                                  static_cast<int>(settings.KeepAlive.count())));
}

BrokerClient::~BrokerClient()
{
    if (m_IsConnected) mosquitto_disconnect(m_Client.get());
}

void BrokerClient::Encrypt(const BrokerSettings& settings)
{
    if (!settings.IsEncrypted) return;
    const QByteArray authority = QFile::encodeName(settings.AuthorityFile);
    const QByteArray certificate = QFile::encodeName(settings.CertificateFile);
    const QByteArray key = QFile::encodeName(settings.KeyFile);
    const char* const systemFolder = authority.isEmpty() ? "/etc/ssl/certs" : nullptr;
    if (mosquitto_tls_set(m_Client.get(), NameOrNull(authority), systemFolder, NameOrNull(certificate), NameOrNull(key),
                          RefuseKeyPassword) != MOSQ_ERR_SUCCESS)
        throw DescribedError(QStringLiteral("a certificate or key file cannot be read"));
    if (!settings.ChecksName) Check(mosquitto_tls_insecure_set(m_Client.get(), true));
    // The library says only here what is wrong with a certificate, and which packets it has read.
    mosquitto_log_callback_set(m_Client.get(), [](mosquitto*, void* self, int level, const char* text) {
        auto& client = *static_cast<BrokerClient*>(self);
        client.m_HasRead = true;
        if (level == MOSQ_LOG_ERR) client.m_LastError = WithoutStop(text);
    });
}

void BrokerClient::LogIn(const BrokerSettings& settings)
{
    if (settings.User.isEmpty()) return;
    const QByteArray password = settings.PasswordFile.isEmpty() ? QByteArray() : FirstLineOf(settings.PasswordFile);
    Check(mosquitto_username_pw_set(m_Client.get(), settings.User.toUtf8().constData(), NameOrNull(password)));
}

void BrokerClient::Listen()
{
    mosquitto_connect_callback_set(m_Client.get(), [](mosquitto*, void* self, int code) {
        auto& client = *static_cast<BrokerClient*>(self);
        client.m_HasRead = true;
        client.m_IsConnected = code == 0;
        if (code != 0)
            client.m_End = WithoutStop(client.m_Settings.IsVersion5 ? mosquitto_reason_string(code)
                                                                    : mosquitto_connack_string(code));
    });
    mosquitto_disconnect_callback_set(m_Client.get(), [](mosquitto*, void* self, int code) {
        auto& client = *static_cast<BrokerClient*>(self);
        if (code >= FirstRefusal) client.m_End = WithoutStop(mosquitto_reason_string(code));
    });
    mosquitto_message_callback_set(m_Client.get(), [](mosquitto*, void* self, const mosquitto_message* message) {
        auto& client = *static_cast<BrokerClient*>(self);
        client.m_HasRead = true;
        const qint64 size = message->payloadlen;
        const qint64 kept = size > Payload::MostBytes ? 0 : size;
        client.m_Handler.NoteMessage({QByteArray(message->topic),
                                      QByteArray(static_cast<const char*>(message->payload), kept), size,
                                      std::chrono::system_clock::now()});
    });
    mosquitto_publish_v5_callback_set(m_Client.get(),
                                      [](mosquitto*, void* self, int id, int reason, const mosquitto_property*) {
                                          static_cast<BrokerClient*>(self)->NotePublished(id, reason);
                                      });
    mosquitto_subscribe_callback_set(m_Client.get(), [](mosquitto*, void* self, int id, int count, const int* granted) {
        static_cast<BrokerClient*>(self)->NoteSubscribed(id, {granted, static_cast<std::size_t>(count)});
    });
}

int BrokerClient::Descriptor() const
{
    return mosquitto_socket(m_Client.get());
}

short BrokerClient::Events() const
{
    return static_cast<short>(POLLIN | (mosquitto_want_write(m_Client.get()) ? POLLOUT : 0));
}

bool BrokerClient::Serve(short ready)
{
    if (ready & POLLOUT) Check(mosquitto_loop_write(m_Client.get(), 1));
    bool isMore = ready & (POLLIN | POLLHUP | POLLERR);
    for (int i = 0; i < PacketsInARow && isMore; ++i) {
        m_HasRead = false;
        Check(mosquitto_loop_read(m_Client.get(), 1));
        isMore = m_HasRead;
    }
    Check(mosquitto_loop_misc(m_Client.get()));
    if (Descriptor() < 0) Check(MOSQ_ERR_CONN_LOST);
    return isMore;
}

void BrokerClient::Check(int code) const
{
    if (code != MOSQ_ERR_SUCCESS) throw DescribedError(TextOf(code, errno));
}

QString BrokerClient::TextOf(int code, int systemError) const
{
    if (!m_End.isEmpty()) return m_End;
    // "OpenSSL Error[0]: error:0A000086:SSL routines::certificate verify failed"
    if (code == MOSQ_ERR_TLS && !m_LastError.isEmpty())
        return QStringLiteral("TLS: ") + m_LastError.section(u':', -1).trimmed();
    if (code == MOSQ_ERR_EAI) return QStringLiteral("the host \"%1\" is not known").arg(m_Settings.Host);
    if (code == MOSQ_ERR_ERRNO && systemError != 0) return QString::fromLocal8Bit(std::strerror(systemError));
    return WithoutStop(mosquitto_strerror(code));
}

void BrokerClient::Subscribe(const QList<QByteArray>& filters, int qos)
{
    std::vector<char*> names;
    for (const QByteArray& filter : filters) names.push_back(const_cast<char*>(filter.constData()));
    int id = 0;
    Check(mosquitto_subscribe_multiple(m_Client.get(), &id, static_cast<int>(names.size()), names.data(), qos, 0,
                                       nullptr));
    m_Asked[id] = filters;
}

void BrokerClient::Unsubscribe(const QByteArray& filter)
{
    Check(mosquitto_unsubscribe(m_Client.get(), nullptr, filter.constData()));
}

void BrokerClient::NoteSubscribed(int id, std::span<const int> granted)
{
    m_HasRead = true;
    const auto asked = m_Asked.extract(id);
    if (asked.empty()) return;
    const QList<QByteArray>& filters = asked.mapped();
    for (std::size_t i = 0; i < granted.size() && i < static_cast<std::size_t>(filters.size()); ++i)
        m_Handler.NoteSubscribed(filters[static_cast<qsizetype>(i)], granted[i] < FirstRefusal);
}

/// The library may tell that a message has gone before it says which one that is.
void BrokerClient::Publish(const OutgoingMessage& message, Answered answered)
{
    m_Sending = 0;
    int id = 0;
    const int code =
        mosquitto_publish(m_Client.get(), &id, message.Topic.constData(), static_cast<int>(message.Payload.size()),
                          message.Payload.constData(), message.Qos, message.Retains);
    if (code != MOSQ_ERR_SUCCESS)
        return answered(
            {IsForGood(code) ? Delivery::Outcome::Refused : Delivery::Outcome::Unknown, TextOf(code, errno)});
    if (m_Sending == id) return answered({});
    m_Sent[id] = {std::move(answered), Clock::now() + m_Settings.TimeOut};
}

void BrokerClient::NotePublished(int id, int reason)
{
    m_HasRead = true;
    m_Sending = id;
    const auto sent = m_Sent.extract(id);
    if (sent.empty()) return;
    if (reason < FirstRefusal) return sent.mapped().Answer({});
    sent.mapped().Answer({Delivery::Outcome::Refused,
                          QStringLiteral("the broker refuses it: ") + WithoutStop(mosquitto_reason_string(reason))});
}

void BrokerClient::GiveUpLate()
{
    const auto now = Clock::now();
    for (auto sent = m_Sent.begin(); sent != m_Sent.end();) {
        if (sent->second.Deadline > now) {
            ++sent;
            continue;
        }
        const auto late = m_Sent.extract(sent++);
        late.mapped().Answer({Delivery::Outcome::Unknown, LateText(m_Settings)});
    }
}

void BrokerClient::GiveUp(const QString& why)
{
    for (auto& [id, sent] : std::exchange(m_Sent, {})) sent.Answer({Delivery::Outcome::Unknown, why});
}
