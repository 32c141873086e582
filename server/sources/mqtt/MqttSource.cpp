#include "server/sources/mqtt/MqttSource.h"

#include "server/log/Log.h"
#include "server/sources/mqtt/MqttVariable.h"

namespace {

VariableHolder::Time Now()
{
    return std::chrono::system_clock::now();
}

} // namespace

MqttSource::MqttSource(QString name, BrokerSettings settings)
    : Source(std::move(name))
    , m_Connection(std::move(settings))
{
}

MqttSource::~MqttSource() = default;

SourceRef MqttSource::Make(const QString& name, SourceSettings& settings)
{
    auto broker = ReadBrokerSettings(settings);
    if (!broker) return nullptr;
    return std::make_shared<MqttSource>(name, std::move(*broker));
}

void MqttSource::Start(Loop& loop)
{
    m_Loop = &loop;
    m_Connection.Open(loop, *this);
    m_Connection.Want(HasUsers());
}

SourceVariableRef MqttSource::Bind(const VariableText& text)
{
    return std::make_unique<MqttVariable>(shared_from_this(), ReadMqttBinding(text));
}

void MqttSource::Attach(MqttVariable& variable)
{
    // Subscribing again brings what the broker has retained to the new item, too.
    m_Connection.Subscribe(variable.Binding().Filter, m_Subscriptions.Add(variable));
}

void MqttSource::Detach(const MqttVariable& variable)
{
    if (m_Subscriptions.Remove(variable)) m_Connection.Unsubscribe(variable.Binding().Filter);
}

void MqttSource::Read(std::vector<SourceVariable*> variables, std::function<void()> done)
{
    for (SourceVariable* variable : variables) {
        if (m_IsConnected) static_cast<MqttVariable*>(variable)->Repeat();
        else variable->Fail(WhyUnreachable(), Now());
    }
    done();
}

void MqttSource::Write(SourceVariable& variable, const Variant& value, Written written)
{
    const MqttBinding& binding = static_cast<MqttVariable&>(variable).Binding();
    if (!m_Connection.Settings().TakesWrites) throw DescribedError(QStringLiteral("its device is not to be written"));
    if (binding.SetTopic.isEmpty())
        throw DescribedError(
            QStringLiteral("it hears several topics, and its option names none that can be written with set="));
    m_Connection.Publish({binding.SetTopic, WritePayload(value, binding.Form), binding.Qos, binding.Retains},
                         [loop = m_Loop, written = std::move(written)](const Delivery& delivery) {
                             loop->Post([written, why = delivery.Why] { written(why); });
                         });
}

void MqttSource::Publish(OutgoingMessage message, Answered answered)
{
    m_Connection.Publish(std::move(message), std::move(answered));
}

bool MqttSource::IsTopic(const QByteArray& topic) const
{
    return IsTopicToPublish(topic);
}

bool MqttSource::IsHeardBy(const QByteArray& topic, const SourceVariable& variable) const
{
    const auto* heard = dynamic_cast<const MqttVariable*>(&variable);
    return heard && heard->Owner() == this && Hears(heard->Binding().Filter, topic);
}

QString MqttSource::Describe() const
{
    return QStringLiteral("%1: %2, %3; %4 subscriptions, %5 messages")
        .arg(Name(), m_Connection.Settings().Address(), State(), QString::number(m_Subscriptions.Count()),
             QString::number(m_Messages));
}

QString MqttSource::WhyUnreachable() const
{
    if (m_Why.isEmpty()) return QStringLiteral("the broker is not connected");
    return m_Connection.Settings().Unreachable(m_Why);
}

QString MqttSource::State() const
{
    if (m_IsConnected) return QStringLiteral("connected");
    if (!HasUsers()) return QStringLiteral("not used");
    return m_Why.isEmpty() ? QStringLiteral("connecting") : QStringLiteral("cannot be reached: ") + m_Why;
}

void MqttSource::NoteUsers()
{
    m_Connection.Want(HasUsers());
    if (HasUsers()) return;
    m_IsConnected = false; // from now on nothing is heard of it
    m_Why.clear();
}

void MqttSource::NoteConnected()
{
    if (!HasUsers()) return;
    m_IsConnected = true;
    m_Why.clear();
    Log(LogLevel::Info,
        QStringLiteral("Device \"%1\" is connected to %2.").arg(Name(), m_Connection.Settings().Address()));
    m_Subscriptions.ForEach([](MqttVariable& variable) { variable.Renew(); });
    SetReachable(true);
}

void MqttSource::NoteLost(const QString& why)
{
    if (!HasUsers()) return;
    const QString said = m_Connection.Settings().Unreachable(why);
    const bool isNews = m_IsConnected || m_Why.isEmpty();
    m_IsConnected = false;
    m_Why = why;
    if (!isNews) return;
    SayFault(said);
    SetReachable(false);
    const auto now = Now();
    m_Subscriptions.ForEach([&](MqttVariable& variable) { variable.Miss(said, now); });
}

void MqttSource::NoteMessage(const ArrivedMessage& message)
{
    if (!HasUsers()) return;
    ++m_Messages;
    Payload payload(message.Payload, message.Size);
    for (MqttVariable* variable : m_Subscriptions.Hearing(message.Topic)) {
        const QString wrong = variable->Hear(payload, message.Time);
        if (!wrong.isEmpty()) SayFault(QStringLiteral("topic \"%1\": %2").arg(QString::fromUtf8(message.Topic), wrong));
    }
}

void MqttSource::NoteRefused(const QByteArray& filter)
{
    const QString why = QStringLiteral("the broker refuses to pass on \"%1\"").arg(QString::fromUtf8(filter));
    SayFault(why);
    for (MqttVariable* variable : m_Subscriptions.Of(filter)) variable->Miss(why, Now());
}

void MqttSource::SayFault(const QString& what) const
{
    Log(LogLevel::Warning, QStringLiteral("Device \"%1\": %2.").arg(Name(), what));
}
