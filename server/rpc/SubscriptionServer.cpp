#include "server/rpc/SubscriptionServer.h"

#include "server/log/Log.h"
#include "server/rpc/ObjectDirectory.h"

namespace {

constexpr int MostUnanswered = 256;

} // namespace

SubscriptionServer::SubscriptionServer(Services& services, PlantControllerRef controller,
                                       wire::ControllerEvents::Client events)
    : m_Services(services)
    , m_Controller(std::move(controller))
    , m_Events(kj::mv(events))
    , m_Sending(*this)
{
    if (m_Services.Objects.Subscriptions >= MostSubscriptions)
        throw ServerError(QStringLiteral("There are %1 subscriptions already.").arg(MostSubscriptions));
    m_Controller->AddObserver(*this);
    ++m_Services.Objects.Subscriptions;
}

SubscriptionServer::~SubscriptionServer()
{
    m_Controller->RemoveObserver(*this);
    End();
    --m_Services.Objects.Subscriptions;
}

void SubscriptionServer::Queue(Event event)
{
    if (m_Ended) return;
    ObjectDirectory& objects = m_Services.Objects;
    if (m_Waiting.size() >= MostWaiting || objects.WaitingEvents >= MostWaitingOfAll) return Drop();
    m_Waiting.push_back(std::move(event));
    ++objects.WaitingEvents;
    SendWaiting();
}

void SubscriptionServer::Drop()
{
    if (m_Dropped++ == 0)
        Log(LogLevel::Warning,
            QStringLiteral("A subscriber of controller \"%1\" does not read its events: %2 are waiting, "
                           "further ones are dropped.")
                .arg(m_Controller->Name())
                .arg(m_Waiting.size()));
}

void SubscriptionServer::SendWaiting()
{
    while (!m_Waiting.empty() && m_Unanswered < MostUnanswered && !m_Ended) {
        ++m_Unanswered;
        m_Sending.add(Send(m_Waiting.front()).then([this] {
            --m_Unanswered;
            SendWaiting();
        }));
        m_Waiting.pop_front();
        --m_Services.Objects.WaitingEvents;
    }
    if (m_Dropped == 0 || m_Waiting.size() > MostWaiting / 2) return;
    Log(LogLevel::Warning, QStringLiteral("The subscriber of controller \"%1\" reads again; %2 events were dropped.")
                               .arg(m_Controller->Name())
                               .arg(m_Dropped));
    m_Dropped = 0;
}

kj::Promise<void> SubscriptionServer::Send(const Event& event)
{
    if (const qint32* state = std::get_if<qint32>(&event)) {
        auto request = m_Events.onChangeStateRequest();
        request.setNewVal(*state);
        return request.send().ignoreResult();
    }
    auto request = m_Events.onChangeItemRequest();
    m_Services.Objects.Write(std::get<PlantItemRef>(event), request.initItem());
    return request.send().ignoreResult();
}

void SubscriptionServer::taskFailed(kj::Exception&& exception)
{
    // One event refused says nothing about the next; a subscriber that is gone never answers again.
    --m_Unanswered;
    if (exception.getType() == kj::Exception::Type::DISCONNECTED) End();
    else SendWaiting();
}

void SubscriptionServer::End()
{
    m_Ended = true;
    m_Services.Objects.WaitingEvents -= static_cast<qint64>(m_Waiting.size());
    m_Waiting.clear();
}
