#pragma once

#include "server/sources/MessageOutlet.h"
#include "server/sources/mqtt/BrokerConnection.h"
#include "server/sources/mqtt/Subscriptions.h"
#include "server/sources/Source.h"

class MqttVariable;

/// A broker as a source: what its topics say sets items as it comes, and written values are published.
class MqttSource : public Source,
                   public MessageOutlet,
                   private BrokerListener,
                   public std::enable_shared_from_this<MqttSource>
{
public:
    MqttSource(QString name, BrokerSettings settings);
    ~MqttSource() override;
    /// Null when there are mistakes.
    static SourceRef Make(const QString& name, SourceSettings& settings);

    void Start(Loop& loop) override;
    SourceVariableRef Bind(const VariableText& text) override;
    /// Answers with the last messages: a broker cannot be asked.
    void Read(std::vector<SourceVariable*> variables, std::function<void()> done) override;
    void Write(SourceVariable& variable, const Variant& value, Written written) override;
    QString Describe() const override;

    void Publish(OutgoingMessage message, Answered answered) override;
    bool IsTopic(const QByteArray& topic) const override;
    bool IsHeardBy(const QByteArray& topic, const SourceVariable& variable) const override;

    // For its variables.
    void Attach(MqttVariable& variable);
    void Detach(const MqttVariable& variable);

private:
    void NoteUsers() override;
    void NoteConnected() override;
    void NoteLost(const QString& why) override;
    void NoteMessage(const ArrivedMessage& message) override;
    void NoteRefused(const QByteArray& filter) override;
    QString State() const;
    QString WhyUnreachable() const;
    void SayFault(const QString& what) const;

    BrokerConnection m_Connection;
    Subscriptions m_Subscriptions;
    Loop* m_Loop = nullptr; ///< null before Start
    bool m_IsConnected = false;
    QString m_Why; ///< it is not connected; empty when that is not known
    quint64 m_Messages = 0;
};
