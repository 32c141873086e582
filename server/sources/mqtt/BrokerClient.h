#pragma once

#include "server/sources/MessageOutlet.h"
#include "server/sources/mqtt/ArrivedMessage.h"
#include "server/sources/mqtt/BrokerSettings.h"

#include <map>
#include <memory>
#include <span>

struct mosquitto;

/// One connection to a broker, from the first attempt to its end, which every method may throw as a DescribedError.
/// Belongs to one thread.
class BrokerClient
{
public:
    using Clock = std::chrono::steady_clock;
    using Answered = MessageOutlet::Answered;

    class Handler
    {
    public:
        virtual void NoteMessage(ArrivedMessage message) = 0;
        virtual void NoteSubscribed(const QByteArray& filter, bool isGranted) = 0;

    protected:
        ~Handler() = default;
    };

    /// Begins to connect. Looking for the host's address may take its time.
    BrokerClient(const BrokerSettings& settings, Handler& handler);
    BrokerClient(const BrokerClient&) = delete;
    BrokerClient& operator=(const BrokerClient&) = delete;
    /// Says goodbye. What has not been answered stays so.
    ~BrokerClient();

    bool IsConnected() const { return m_IsConnected; }
    /// To be polled for Events.
    int Descriptor() const;
    short Events() const;
    /// Does what is due; `ready` is what poll has found. Returns whether more can be read at once. To be called every
    /// second at least.
    bool Serve(short ready);

    void Subscribe(const QList<QByteArray>& filters, int qos);
    void Unsubscribe(const QByteArray& filter);
    void Publish(const OutgoingMessage& message, Answered answered);
    /// Fails what the broker has not acknowledged in time.
    void GiveUpLate();
    /// What has not been answered is failed with this reason.
    void GiveUp(const QString& why);

private:
    struct Sent
    {
        Answered Answer;
        Clock::time_point Deadline;
    };
    struct Deleter
    {
        void operator()(mosquitto* client) const;
    };

    void Encrypt(const BrokerSettings& settings);
    void LogIn(const BrokerSettings& settings);
    void Listen();
    void Check(int code) const;
    QString TextOf(int code, int systemError) const;
    void NotePublished(int id, int reason);
    void NoteSubscribed(int id, std::span<const int> granted);

    Handler& m_Handler;
    const BrokerSettings& m_Settings;
    std::unique_ptr<mosquitto, Deleter> m_Client;
    bool m_IsConnected = false;
    bool m_HasRead = false; ///< a packet, since it was last cleared
    QString m_End;          ///< what the broker said at the end
    QString m_LastError;    ///< as the library logs it
    int m_Sending = 0;      ///< the message that is just being published, when it is answered at once
    std::map<int, Sent> m_Sent;
    std::map<int, QList<QByteArray>> m_Asked; ///< subscriptions
};
