#include "server/rpc/SubscriptionServer.h"

#include "server/log/Log.h"
#include "server/rpc/Subscribers.h"
#include "velsqllib/WireMethod.h"

SubscriptionServer::SubscriptionServer(Subscribers& all, WireObjects& objects, PlantControllerRef controller,
                                       wire::ControllerEvents::Client events, quint16 level)
    : m_All(all)
    , m_Objects(objects)
    , m_Controller(std::move(controller))
    , m_Events(kj::mv(events))
    , m_TakesMany(level >= WireMethod::Of<wire::ControllerEvents, wire::ControllerEvents::OnChangesParams>().Since)
    , m_Sending(*this)
{
    m_All.Add(*this);
    m_Controller->AddObserver(*this);
}

SubscriptionServer::~SubscriptionServer()
{
    m_Controller->RemoveObserver(*this);
    End();
    m_All.AddUnanswered(-m_Unanswered);
    m_All.Remove(*this);
}

void SubscriptionServer::Queue(Event event)
{
    if (m_Ended) return;
    if (m_Waiting.size() >= MostWaiting || !m_All.HasRoomFor(*this))
        return Drop(QStringLiteral("%1 are waiting, further ones are dropped").arg(m_Waiting.size()), 1);
    m_Waiting.push_back(std::move(event));
    m_All.AddWaiting(1);
    if (m_Waiting.size() == (m_TakesMany ? MostTogether : 1)) SendWaiting();
    // What else happens in this turn goes with it.
    else if (m_Waiting.size() == 1) m_SendSoon = kj::evalLater([this] { SendWaiting(); }).eagerlyEvaluate(nullptr);
}

void SubscriptionServer::GiveUp()
{
    const std::size_t count = m_Waiting.size();
    Forget();
    Drop(QStringLiteral("as all subscribers together have %1 waiting, its %2 are dropped")
             .arg(Subscribers::MostWaiting)
             .arg(count),
         count);
}

void SubscriptionServer::Drop(const QString& why, std::size_t count)
{
    if (m_Dropped == 0)
        Log(LogLevel::Warning, QStringLiteral("A subscriber of controller \"%1\" does not read its events: %2.")
                                   .arg(m_Controller->Name(), why));
    m_Dropped += count;
}

void SubscriptionServer::SendWaiting()
{
    if (m_Unanswered == 0) m_LastSign = m_All.NextSign(); // nothing has been asked of it
    while (const qint32 count = CountForNextMessage()) SendNext(count);
}

qint32 SubscriptionServer::CountForNextMessage() const
{
    const qint32 most = m_Ended ? 0 : std::max(0, m_All.MostUnanswered() - m_Unanswered);
    const std::size_t together = m_TakesMany ? MostTogether : 1;
    return std::min(most, static_cast<qint32>(std::min(m_Waiting.size(), together)));
}

void SubscriptionServer::SendNext(qint32 count)
{
    m_Unanswered += count;
    m_All.AddUnanswered(count);
    auto sent = count == 1 ? Send(m_Waiting.front()) : SendTogether(count);
    m_Sending.add(sent.then([this, count] { Answered(count); },
                            [this, count](kj::Exception&& exception) { Failed(exception, count); }));
    m_Waiting.erase(m_Waiting.begin(), m_Waiting.begin() + count);
    m_All.AddWaiting(-count);
}

kj::Promise<void> SubscriptionServer::Send(const Event& event)
{
    if (const qint32* state = std::get_if<qint32>(&event)) {
        auto request = m_Events.onChangeStateRequest();
        request.setNewVal(*state);
        return request.send().ignoreResult();
    }
    auto request = m_Events.onChangeItemRequest();
    m_Objects.Write(std::get<PlantItemRef>(event), request.initItem());
    return request.send().ignoreResult();
}

kj::Promise<void> SubscriptionServer::SendTogether(qint32 count)
{
    auto request = m_Events.onChangesRequest();
    auto changes = request.initChanges(static_cast<uint>(count));
    for (uint i = 0; i < changes.size(); ++i) {
        const Event& event = m_Waiting[i];
        if (const qint32* state = std::get_if<qint32>(&event)) changes[i].setState(*state);
        else m_Objects.Write(std::get<PlantItemRef>(event), changes[i].initItem());
    }
    return request.send().ignoreResult();
}

void SubscriptionServer::Answered(qint32 count)
{
    m_Unanswered -= count;
    m_All.AddUnanswered(-count);
    m_LastSign = m_All.NextSign();
    if (m_Unanswered <= m_All.MostUnanswered() / 2) SendWaiting(); // many at once, instead of one for each answer
    if (m_Dropped == 0 || m_Waiting.size() > MostWaiting / 2) return;
    Log(LogLevel::Warning, QStringLiteral("The subscriber of controller \"%1\" reads again; %2 events were dropped.")
                               .arg(m_Controller->Name(), QString::number(m_Dropped)));
    m_Dropped = 0;
}

void SubscriptionServer::Failed(const kj::Exception& exception, qint32 count)
{
    // One refused event says nothing about the next; a subscriber that has gone never answers again.
    if (exception.getType() == kj::Exception::Type::DISCONNECTED) End();
    Answered(count);
}

void SubscriptionServer::Forget()
{
    m_All.AddWaiting(-static_cast<qint64>(m_Waiting.size()));
    m_Waiting.clear();
}

void SubscriptionServer::End()
{
    m_Ended = true;
    Forget();
}
