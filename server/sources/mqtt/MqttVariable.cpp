#include "server/sources/mqtt/MqttVariable.h"

#include "server/sources/mqtt/MqttSource.h"

MqttVariable::MqttVariable(std::shared_ptr<MqttSource> source, MqttBinding binding)
    : m_Source(std::move(source))
    , m_Binding(std::move(binding))
    , m_IsWaiting(!m_Source->IsReachable()) // then the first scan says so
{
    m_Source->Attach(*this);
}

MqttVariable::~MqttVariable()
{
    m_Source->Detach(*this);
}

Source* MqttVariable::Owner() const
{
    return m_Source.get();
}

QString MqttVariable::Hear(Payload& payload, VariableHolder::Time time)
{
    m_Time = time;
    try {
        m_Last = payload.Read(m_Binding.Form);
        m_Failure.clear();
        m_IsWaiting = !Arrive(*m_Last, time);
        return QString();
    } catch (const DescribedError& error) {
        m_Last.reset();
        m_Failure = error.Description();
        m_IsWaiting = !Lose(m_Failure, time);
        return std::exchange(m_IsBlamed, true) ? QString() : m_Failure;
    }
}

void MqttVariable::Miss(const QString& why, VariableHolder::Time time)
{
    m_Last.reset();
    m_Failure.clear();
    m_IsWaiting = !Lose(why, time);
}

void MqttVariable::Repeat()
{
    m_IsWaiting = false;
    if (m_Last) Answer(*m_Last, m_Time);
    else
        Fail(m_Failure.isEmpty()
                 ? QStringLiteral("no message of \"%1\" has come yet").arg(QString::fromUtf8(m_Binding.Filter))
                 : m_Failure,
             std::chrono::system_clock::now());
}
