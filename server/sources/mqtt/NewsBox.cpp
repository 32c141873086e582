#include "server/sources/mqtt/NewsBox.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"

namespace {

qint64 SizeOf(const ArrivedMessage& message)
{
    return message.Topic.size() + message.Payload.size();
}

} // namespace

NewsBox::NewsBox(Loop& loop, BrokerListener& listener)
    : m_Loop(&loop)
    , m_Listener(&listener)
{
}

void NewsBox::Add(ArrivedMessage message)
{
    m_Bytes += SizeOf(message);
    m_Waiting.emplace_back(std::move(message));
}

void NewsBox::Add(Action action)
{
    m_Waiting.emplace_back(std::move(action));
}

void NewsBox::Flush()
{
    m_IsMore = !m_Waiting.empty();
    if (!m_IsMore || m_IsUnderWay.exchange(true)) return;
    auto portion = std::make_shared<std::vector<News>>(TakePortion());
    m_IsMore = !m_Waiting.empty();
    const std::lock_guard lock(m_Guard);
    if (m_Loop) m_Loop->Post([self = shared_from_this(), portion] { self->Tell(*portion); });
}

std::vector<NewsBox::News> NewsBox::TakePortion()
{
    std::vector<News> portion;
    qint64 bytes = 0;
    while (!m_Waiting.empty() && portion.size() < Portion && bytes < PortionBytes) {
        if (const auto* message = std::get_if<ArrivedMessage>(&m_Waiting.front())) bytes += SizeOf(*message);
        portion.push_back(std::move(m_Waiting.front()));
        m_Waiting.pop_front();
    }
    m_Bytes -= bytes;
    return portion;
}

/// What one of them throws keeps nothing from the others.
void NewsBox::Tell(const std::vector<News>& portion)
{
    for (const News& news : portion) {
        try {
            if (!m_Listener) break;
            if (const auto* message = std::get_if<ArrivedMessage>(&news)) m_Listener->NoteMessage(*message);
            else std::get<Action>(news)(*m_Listener);
        } catch (...) {
            Log(LogLevel::Error, QStringLiteral("A broker's message failed: %1").arg(CurrentErrorDescription()));
        }
    }
    m_IsUnderWay = false;
    if (m_IsMore) m_Wake.Signal();
}

void NewsBox::Close()
{
    m_Listener = nullptr;
    const std::lock_guard lock(m_Guard);
    m_Loop = nullptr;
}
