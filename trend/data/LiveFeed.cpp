#include "trend/data/LiveFeed.h"

#include "trend/data/ServerZone.h"
#include "velsqllib/ItemProxy.h"

#include <QElapsedTimer>

namespace {

constexpr int RetryMs = 2000;
constexpr int LookMs = 1000;
/// Items that change without events.
constexpr int LookOftenMs = 200;
/// What changes at once is read at once.
constexpr int GatherMs = 10;
constexpr int TellMs = 50;
constexpr int FindMs = 100;
constexpr qsizetype MostTold = 5000;

} // namespace

/// The events of one controller.
class LiveFeed::Subscription final : public ControllerEvents
{
public:
    Subscription(LiveFeed& feed, VelSQLController& controller)
        : m_Feed(feed)
        , m_Events(controller.Subscribe(*this))
    {
    }

    void OnChangeState(qint32) override {}
    void OnChangeItem(const ItemRef& item) override
    {
        // The name without a call: most events are about items that nobody watches.
        const auto* proxy = dynamic_cast<const ItemProxy*>(item.get());
        const auto found = Items.find(proxy ? proxy->Way().ItemName : item->get_Name());
        if (found != Items.end()) m_Feed.NoteChange(found->second);
    }

    bool IsOpen() const { return m_Events->IsOpen(); }

    std::map<QString, WatchedRef> Items; ///< key: the item's name

private:
    LiveFeed& m_Feed;
    EventSubscriptionRef m_Events;
};

LiveFeed::LiveFeed(MakeLibrary make)
    : m_Make(std::move(make))
    , m_Retry(this)
    , m_Look(this)
    , m_LookOften(this)
    , m_ReadSoon(this)
    , m_TellSoon(this)
{
    connect(&m_Retry, &QTimer::timeout, this, [this] { Attach(false); });
    connect(&m_Look, &QTimer::timeout, this, &LiveFeed::LookAtAll);
    connect(&m_LookOften, &QTimer::timeout, this, &LiveFeed::LookOften);
    connect(&m_ReadSoon, &QTimer::timeout, this, &LiveFeed::ReadChanged);
    connect(&m_TellSoon, &QTimer::timeout, this, [this] { Q_EMIT Heard(std::exchange(m_News, {})); });
    m_ReadSoon.setSingleShot(true);
    m_TellSoon.setSingleShot(true);
}

LiveFeed::~LiveFeed() = default;

void LiveFeed::Open()
{
    Attach(true);
}

void LiveFeed::Attach(bool mayStart)
{
    try {
        if (!m_Library) {
            m_Library = m_Make();
            m_Library->OnServerChange([this] { NotePresence(); });
        }
        m_Engine = mayStart ? m_Library->CreateEngine() : m_Library->AttachEngine();
    } catch (...) {
        Q_EMIT AbsenceChanged(CurrentErrorDescription());
        m_Retry.start(RetryMs);
        return;
    }
    m_Retry.stop();
    m_Zone = ZoneOf(*m_Engine);
    Q_EMIT AbsenceChanged({});
    m_Look.start(LookMs);
    m_LookOften.start(LookOftenMs);
    LookAtAll();
}

/// Subscriptions and objects of velsqllib find the new server by themselves.
void LiveFeed::NotePresence()
{
    const QString absence = m_Library->Absence();
    m_IsAbsent = !absence.isEmpty();
    for (const auto& [name, watched] : m_Watched) watched->Forget();
    // What was read before must not come behind it, as if the server were there.
    if (!m_News.isEmpty()) Q_EMIT Heard(std::exchange(m_News, {}));
    Q_EMIT AbsenceChanged(absence);
    if (m_IsAbsent || !m_Engine) return;
    m_Zone = ZoneOf(*m_Engine);
    LookAtAll();
}

void LiveFeed::Watch(const QStringList& items)
{
    const QSet<QString> wanted(items.begin(), items.end());
    std::erase_if(m_Watched, [&](const auto& entry) { return !wanted.contains(entry.first); });
    for (auto& [name, subscription] : m_Subscriptions)
        std::erase_if(subscription->Items, [&](const auto& entry) { return !wanted.contains(entry.second->Name); });
    std::erase_if(m_Subscriptions, [](const auto& entry) { return entry.second->Items.empty(); });
    for (const QString& name : wanted) {
        WatchedRef& watched = m_Watched[name];
        if (!watched) watched = std::make_shared<Watched>(name);
    }
    m_Unsought = 0; // a new round
    LookAtAll();
}

void LiveFeed::LookAtAll()
{
    if (m_IsAbsent || !m_Engine) return;
    DropClosed();
    if (m_Unsought == 0) {
        m_Unsought = m_Watched.size();
        FindItems();
    }
    QList<WatchedRef> found;
    for (const auto& [name, watched] : m_Watched) {
        if (watched->Item) found.append(watched);
    }
    ReadItems(found);
}

void LiveFeed::LookOften()
{
    QList<WatchedRef> silent;
    for (const auto& [name, watched] : m_Watched) {
        if (watched->Item && watched->IsSilent()) silent.append(watched);
    }
    if (!m_IsAbsent) ReadItems(silent);
}

/// One round over all that have not been found, in turns: a slow server brings values of the others meanwhile.
void LiveFeed::FindItems()
{
    QElapsedTimer time;
    time.start();
    while (m_Unsought > 0 && !m_Watched.empty()) {
        --m_Unsought;
        auto next = m_Watched.upper_bound(m_Sought);
        if (next == m_Watched.end()) next = m_Watched.begin();
        m_Sought = next->first;
        const WatchedRef watched = next->second;
        if (watched->Item || !Find(*watched)) continue;
        Subscribe(watched);
        ReadItems({watched});
        if (time.elapsed() > FindMs) return QTimer::singleShot(GatherMs, this, &LiveFeed::FindItems);
    }
}

/// Names may contain backslashes.
bool LiveFeed::Find(Watched& watched)
{
    QString why = QStringLiteral("\"%1\" is not an item such as PLC1\\Level.").arg(watched.Name);
    for (qsizetype at = watched.Name.indexOf(u'\\'); at >= 0; at = watched.Name.indexOf(u'\\', at + 1)) {
        try {
            watched.Item = m_Engine->FindItem(watched.Name.left(at), watched.Name.mid(at + 1)).Item;
            watched.Controller = watched.Name.left(at);
            return true;
        } catch (...) {
            why = CurrentErrorDescription();
        }
    }
    Fail(watched, why);
    return false;
}

/// Without its controller's events an item is looked at often.
void LiveFeed::Subscribe(const WatchedRef& watched)
{
    auto& subscription = m_Subscriptions[watched->Controller];
    try {
        if (!subscription) {
            const ControllerRef controller = m_Engine->get_Controller(Variant(watched->Controller));
            subscription = std::make_unique<Subscription>(*this, *controller);
        }
        subscription->Items[watched->Name.mid(watched->Controller.size() + 1)] = watched;
    } catch (...) {
        m_Subscriptions.erase(watched->Controller);
        watched->BeSilent();
    }
}

/// A server that was started again may have refused some.
void LiveFeed::DropClosed()
{
    std::erase_if(m_Subscriptions, [](const auto& entry) {
        if (entry.second->IsOpen()) return false;
        for (const auto& [name, watched] : entry.second->Items) watched->Item.reset();
        return true;
    });
}

void LiveFeed::NoteChange(const WatchedRef& watched)
{
    watched->NoteEvent();
    if (std::exchange(watched->IsChanged, true)) return;
    m_Changed.append(watched);
    if (!m_ReadSoon.isActive()) m_ReadSoon.start(GatherMs);
}

void LiveFeed::ReadChanged()
{
    const QList<WatchedRef> changed = std::exchange(m_Changed, {});
    for (const WatchedRef& watched : changed) watched->IsChanged = false;
    ReadItems(changed);
}

void LiveFeed::ReadItems(const QList<WatchedRef>& items)
{
    QList<CallStep> steps;
    for (const WatchedRef& watched : items) {
        if (!watched->Item) continue;
        steps.append({[item = watched->Item] { Watched::ForeseeRead(*item); }, [this, watched] { Read(*watched); }});
    }
    for (qsizetype done = 0; done < steps.size(); done += m_Library->TakeSteps(steps, done))
        ;
}

void LiveFeed::Read(Watched& watched)
{
    if (!watched.Item) return;
    try {
        if (auto news = watched.Read(m_Zone)) Tell(std::move(*news));
    } catch (...) {
        watched.Item.reset(); // it may have been removed, and be added again
        Fail(watched, CurrentErrorDescription());
    }
}

/// Says the same only once. What fails because the server is away is said of the server.
void LiveFeed::Fail(Watched& watched, const QString& why)
{
    watched.Forget();
    if (!m_Library->Absence().isEmpty() || std::exchange(watched.Note, why) == why) return;
    Tell({.Item = watched.Name, .Note = why});
}

void LiveFeed::Tell(LiveNews news)
{
    m_News.append(std::move(news));
    if (m_News.size() >= MostTold) Q_EMIT Heard(std::exchange(m_News, {}));
    else if (!m_TellSoon.isActive()) m_TellSoon.start(TellMs);
}
