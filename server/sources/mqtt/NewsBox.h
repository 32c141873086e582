#pragma once

#include "server/sources/mqtt/ArrivedMessage.h"
#include "server/sources/mqtt/Wake.h"
#include "server/sources/Source.h"

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <variant>

/// What a broker's thread has to tell, on the server's loop.
class BrokerListener
{
public:
    virtual void NoteConnected() = 0;
    /// It could not be reached, or no longer.
    virtual void NoteLost(const QString& why) = 0;
    virtual void NoteMessage(const ArrivedMessage& message) = 0;
    virtual void NoteRefused(const QByteArray& filter) = 0;

protected:
    ~BrokerListener() = default;
};

/// Brings news from a broker's thread to the loop, in order and in portions, between which the loop does other work:
/// the next portion leaves when the one before has been dealt with.
class NewsBox : public std::enable_shared_from_this<NewsBox>
{
public:
    using Action = std::function<void(BrokerListener&)>;

    /// Both outlive the box, or Close is called before they go.
    NewsBox(Loop& loop, BrokerListener& listener);

    // On the broker's thread:

    void Add(ArrivedMessage message);
    void Add(Action action);
    /// Hands the next portion over, if the loop is ready for it; otherwise signals when it is.
    void Flush();
    /// Too much is waiting: nothing more should be read for now.
    bool IsFull() const { return m_Bytes > MostBytes || m_Waiting.size() > MostNews; }
    const Wake& WakeUp() const { return m_Wake; }

    /// On the loop: nothing is told any more.
    void Close();

private:
    using News = std::variant<ArrivedMessage, Action>;

    static constexpr std::size_t Portion = 128;
    static constexpr qint64 PortionBytes = 1024 * 1024;
    static constexpr std::size_t MostNews = 20'000;
    static constexpr qint64 MostBytes = 64 * 1024 * 1024;

    std::vector<News> TakePortion();
    void Tell(const std::vector<News>& portion);

    const Wake m_Wake;
    std::deque<News> m_Waiting; ///< the thread's
    qint64 m_Bytes = 0;
    std::atomic<bool> m_IsUnderWay = false;
    std::atomic<bool> m_IsMore = false;
    std::mutex m_Guard;
    Loop* m_Loop;               ///< null when closed
    BrokerListener* m_Listener; ///< the loop's
};
