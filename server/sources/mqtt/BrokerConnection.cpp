#include "server/sources/mqtt/BrokerConnection.h"

#include "core/automation/Errors.h"

#include <poll.h>
#include <QHash>

#include <algorithm>

namespace {

using Clock = BrokerClient::Clock;
using std::chrono::milliseconds;

constexpr milliseconds FirstPause{100};
/// Between two looks at what has to be done without being asked.
constexpr milliseconds LongestWait{500};
/// How many filters one request subscribes.
constexpr qsizetype FiltersTogether = 100;

struct Order
{
    QByteArray Filter; ///< to subscribe, or to unsubscribe with a qos below 0
    int Qos;
};

struct Outgoing
{
    OutgoingMessage Message;
    BrokerClient::Answered Answered;
};

} // namespace

/// What both threads see.
struct BrokerConnection::Shared
{
    BrokerSettings Settings;
    std::shared_ptr<NewsBox> News;
    std::mutex Guard;
    bool IsOpen = false;
    bool IsWanted = false;
    quint64 TimesWanted = 0;        ///< a connection is for one time only
    QHash<QByteArray, int> Filters; ///< with their qualities of service
    std::vector<Order> Orders;      ///< since the thread last looked
    std::vector<Outgoing> Messages;

    /// `change` returns whether the thread has to look at it.
    void Change(const std::function<bool()>& change)
    {
        {
            const std::lock_guard lock(Guard);
            if (!change() || !IsOpen) return;
        }
        News->WakeUp().Signal();
    }
};

/// The thread's work.
class BrokerConnection::Session : private BrokerClient::Handler
{
public:
    Session(std::shared_ptr<Shared> shared, std::stop_token stop)
        : m_Shared(std::move(shared))
        , m_Stop(std::move(stop))
    {
    }

    void Run()
    {
        while (!m_Stop.stop_requested()) {
            NoteTime();
            if (!IsWanted()) {
                Rest(LongestWait, QStringLiteral("the broker is not connected while no controller of it is active"));
                continue;
            }
            const auto began = Clock::now();
            const QString why = Converse();
            if (!why.isEmpty()) {
                Tell([why](BrokerListener& listener) { listener.NoteLost(why); });
                // A broker that takes the connection and drops it again is not asked all the time.
                const bool wasSteady = m_WasConnected && Clock::now() - began > 2 * m_Shared->Settings.LongestPause;
                m_Pause = wasSteady ? FirstPause : std::min(m_Pause, m_Shared->Settings.LongestPause);
                PauseFor(m_Pause, why);
                m_Pause *= 2;
            }
        }
    }

private:
    bool IsWanted()
    {
        const std::lock_guard lock(m_Shared->Guard);
        return m_Shared->IsWanted && m_Shared->TimesWanted == m_Time && !m_Stop.stop_requested();
    }

    void NoteTime()
    {
        const std::lock_guard lock(m_Shared->Guard);
        m_Time = m_Shared->TimesWanted;
    }

    void Tell(NewsBox::Action action)
    {
        m_Shared->News->Add(std::move(action));
        m_Shared->News->Flush();
    }

    /// One connection from its beginning to its end. Returns why it ended; empty when nobody wants it any more.
    QString Converse()
    {
        m_WasConnected = false;
        QString why;
        try {
            BrokerClient client(m_Shared->Settings, *this);
            why = Converse(client);
            client.GiveUp(
                QStringLiteral("the connection was lost before the broker acknowledged it; it may still have it"));
        } catch (...) {
            why = CurrentErrorDescription();
        }
        return why;
    }

    QString Converse(BrokerClient& client)
    {
        const auto deadline = Clock::now() + m_Shared->Settings.TimeOut;
        try {
            bool isMore = false;
            while (IsWanted()) {
                isMore = client.Serve(isMore ? static_cast<short>(POLLIN) : Wait(client));
                if (client.IsConnected() && !std::exchange(m_WasConnected, true)) Begin(client);
                if (m_WasConnected) Obey(client);
                else if (Clock::now() > deadline) throw DescribedError(QStringLiteral("no answer"));
                client.GiveUpLate();
                m_Shared->News->Flush();
            }
        } catch (...) {
            return CurrentErrorDescription();
        }
        return QString();
    }

    /// Returns what poll says of the broker's socket. While the loop has too much to do nothing more is read.
    short Wait(const BrokerClient& client)
    {
        pollfd descriptors[] = {{m_Shared->News->WakeUp().Descriptor(), POLLIN, 0},
                                {client.Descriptor(), client.Events(), 0}};
        if (m_Shared->News->IsFull()) descriptors[1].events &= static_cast<short>(~POLLIN);
        poll(descriptors, 2, static_cast<int>(LongestWait.count()));
        if (descriptors[0].revents) m_Shared->News->WakeUp().Clear();
        return descriptors[1].revents;
    }

    void Begin(BrokerClient& client)
    {
        Tell([](BrokerListener& listener) { listener.NoteConnected(); });
        QHash<QByteArray, int> filters;
        {
            const std::lock_guard lock(m_Shared->Guard);
            filters = m_Shared->Filters;
            m_Shared->Orders.clear();
        }
        for (const int qos : {0, 1, 2}) Subscribe(client, filters.keys(qos), qos);
    }

    static void Subscribe(BrokerClient& client, const QList<QByteArray>& filters, int qos)
    {
        for (qsizetype i = 0; i < filters.size(); i += FiltersTogether)
            client.Subscribe(filters.mid(i, FiltersTogether), qos);
    }

    void Obey(BrokerClient& client)
    {
        std::vector<Order> orders;
        std::vector<Outgoing> messages;
        {
            const std::lock_guard lock(m_Shared->Guard);
            orders.swap(m_Shared->Orders);
            messages.swap(m_Shared->Messages);
        }
        for (const Order& order : orders) {
            if (order.Qos < 0) client.Unsubscribe(order.Filter);
            else client.Subscribe({order.Filter}, order.Qos);
        }
        for (Outgoing& message : messages) client.Publish(message.Message, std::move(message.Answered));
    }

    void PauseFor(milliseconds pause, const QString& why)
    {
        const auto until = Clock::now() + pause;
        while (IsWanted() && Clock::now() < until)
            Rest(std::chrono::ceil<milliseconds>(until - Clock::now()), m_Shared->Settings.Unreachable(why));
    }

    /// Waits, while there is no connection.
    void Rest(milliseconds longest, const QString& why)
    {
        FailOutgoing(why);
        m_Shared->News->Flush();
        pollfd wake = {m_Shared->News->WakeUp().Descriptor(), POLLIN, 0};
        if (poll(&wake, 1, static_cast<int>(std::min(longest, LongestWait).count())) > 0)
            m_Shared->News->WakeUp().Clear();
    }

    void FailOutgoing(const QString& why)
    {
        std::vector<Outgoing> messages;
        {
            const std::lock_guard lock(m_Shared->Guard);
            messages.swap(m_Shared->Messages);
        }
        for (const Outgoing& message : messages) message.Answered({Delivery::Outcome::Unknown, why});
    }

    void NoteMessage(ArrivedMessage message) override { m_Shared->News->Add(std::move(message)); }

    void NoteSubscribed(const QByteArray& filter, bool isGranted) override
    {
        if (!isGranted) m_Shared->News->Add([filter](BrokerListener& listener) { listener.NoteRefused(filter); });
    }

    const std::shared_ptr<Shared> m_Shared;
    const std::stop_token m_Stop;
    quint64 m_Time = 0;
    bool m_WasConnected = false;
    milliseconds m_Pause = FirstPause;
};

BrokerConnection::BrokerConnection(BrokerSettings settings)
    : m_Shared(std::make_shared<Shared>())
{
    m_Shared->Settings = std::move(settings);
}

BrokerConnection::~BrokerConnection()
{
    if (!m_Worker) return;
    m_Shared->News->Close();
    m_Worker->RequestStop();
    m_Shared->News->WakeUp().Signal();
    m_Worker.reset();
}

const BrokerSettings& BrokerConnection::Settings() const
{
    return m_Shared->Settings;
}

void BrokerConnection::Open(Loop& loop, BrokerListener& listener)
{
    m_Shared->News = std::make_shared<NewsBox>(loop, listener);
    m_Shared->IsOpen = true;
    m_Worker.emplace([shared = m_Shared](const std::stop_token& stop) { Session(shared, stop).Run(); });
}

void BrokerConnection::Want(bool isWanted)
{
    m_Shared->Change([&] {
        if (isWanted && !m_Shared->IsWanted) ++m_Shared->TimesWanted;
        m_Shared->IsWanted = isWanted;
        return true;
    });
}

void BrokerConnection::Subscribe(const QByteArray& filter, int qos)
{
    m_Shared->Change([&] {
        m_Shared->Filters.insert(filter, qos);
        if (m_Shared->IsOpen) m_Shared->Orders.push_back({filter, qos});
        return true;
    });
}

void BrokerConnection::Unsubscribe(const QByteArray& filter)
{
    m_Shared->Change([&] {
        m_Shared->Filters.remove(filter);
        if (m_Shared->IsOpen) m_Shared->Orders.push_back({filter, -1});
        return true;
    });
}

void BrokerConnection::Publish(OutgoingMessage message, BrokerClient::Answered answered)
{
    m_Shared->Change([&] {
        m_Shared->Messages.push_back({std::move(message), std::move(answered)});
        return m_Shared->Messages.size() == 1; // else it has been told already
    });
}
