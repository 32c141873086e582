#include "server/publishing/Publication.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"
#include "server/plant/PlantController.h"
#include "server/publishing/PublishedValue.h"

#include <condition_variable>
#include <mutex>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto LongestEnd = 5s;
constexpr auto TimeToSendAtEnd = 2s;
constexpr auto RetryPause = 200ms;
/// Values that are on their way at the same time.
constexpr std::size_t Window = 250;

QList<QRegularExpression> Patterns(const QStringList& items)
{
    QList<QRegularExpression> patterns;
    for (const QString& item : items) {
        const QString pattern = QRegularExpression::escape(item).replace(QStringLiteral("\\*"), QStringLiteral(".*"));
        patterns.append(QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                                           QRegularExpression::DotMatchesEverythingOption));
    }
    return patterns;
}

QString NameOf(const PublicationSettings& settings)
{
    return QStringLiteral("Publishing by \"%1\" to \"%2\"").arg(settings.Device->Name(), settings.Topic);
}

OutgoingValuesRef MakeValues(const PublicationSettings& settings)
{
    if (!settings.OnDisk) return MakeValuesInMemory(settings.MostInMemory);
    return MakeValuesOnDisk(NameOf(settings) + QStringLiteral(": "), *settings.OnDisk, NameOf(settings));
}

/// Messages that are on their way, and what became of them.
class Flight
{
public:
    explicit Flight(std::size_t count)
        : m_Deliveries(count, {Delivery::Outcome::Unknown})
    {
    }

    void Land(std::size_t at, const Delivery& delivery)
    {
        const std::lock_guard lock(m_Guard);
        m_Deliveries[at] = delivery;
        ++m_Landed;
        if (m_Landed == m_Deliveries.size()) m_AllLanded.notify_all();
    }

    /// What has not landed by then is unknown.
    std::vector<Delivery> Wait(const std::stop_token& stop, std::optional<Clock::time_point> end)
    {
        std::unique_lock lock(m_Guard);
        const auto haveAll = [this] { return m_Landed == m_Deliveries.size(); };
        if (!end && !m_AllLanded.wait(lock, stop, haveAll)) end = Clock::now() + TimeToSendAtEnd;
        if (end) m_AllLanded.wait_until(lock, *end, haveAll);
        return m_Deliveries;
    }

private:
    std::mutex m_Guard;
    std::condition_variable_any m_AllLanded;
    std::size_t m_Landed = 0;
    std::vector<Delivery> m_Deliveries;
};

} // namespace

/// The thread's work.
class Publication::Sender
{
public:
    Sender(PublicationSettings settings, OutgoingValuesRef values)
        : m_Settings(std::move(settings))
        , m_Values(std::move(values))
    {
    }

    void Run(const std::stop_token& stop)
    {
        while (!IsOver(stop)) {
            SpoolBatch batch;
            try {
                batch = m_Values->Next(stop);
            } catch (...) { // they wait
                SayRefused(CurrentErrorDescription());
                Pause(stop);
                continue;
            }
            if (batch.Values.empty() && stop.stop_requested()) return;
            while (!batch.Values.empty() && !IsOver(stop)) SendSome(batch, stop);
        }
    }

private:
    bool IsOver(const std::stop_token& stop)
    {
        if (stop.stop_requested() && !m_End) m_End = Clock::now() + TimeToSendAtEnd;
        return m_End && Clock::now() >= *m_End;
    }

    /// What has been dealt with leaves the batch: the rest is sent again.
    void SendSome(SpoolBatch& batch, const std::stop_token& stop)
    {
        const std::size_t count = std::min(batch.Values.size(), Window);
        const auto flight = std::make_shared<Flight>(count);
        for (std::size_t i = 0; i < count; ++i) {
            const RecordedValue& value = batch.Values[i];
            m_Settings.Outlet->Publish({TopicFor(m_Settings.Topic, value.Controller, value.Item), JsonOf(value),
                                        m_Settings.Qos, m_Settings.Retains},
                                       [flight, i](const Delivery& delivery) { flight->Land(i, delivery); });
        }
        const std::vector<Delivery> deliveries = flight->Wait(stop, m_End);
        for (const Delivery& delivery : deliveries)
            if (delivery.How == Delivery::Outcome::Refused) SayRefused(delivery.Why);
        const auto unknown = std::ranges::find(deliveries, Delivery::Outcome::Unknown, &Delivery::How);
        const auto done = static_cast<std::size_t>(unknown - deliveries.begin());
        if (done > 0) NoteSent(batch, done);
        if (unknown != deliveries.end()) Pause(stop);
    }

    void NoteSent(SpoolBatch& batch, std::size_t count)
    {
        const SpoolPosition position = batch.After(count);
        m_Values->Written(position);
        batch.SkipTo(position.Sequence);
        const DroppedValues dropped = m_Values->TakeDropped();
        if (dropped.Count > 0)
            Log(LogLevel::Warning, QStringLiteral("%1: too many values waited, the oldest are lost: %2.")
                                       .arg(NameOf(m_Settings), dropped.Text()));
    }

    void SayRefused(const QString& why)
    {
        if (std::exchange(m_Refused, why) != why)
            Log(LogLevel::Warning, QStringLiteral("%1: %2.").arg(NameOf(m_Settings), why));
    }

    void Pause(const std::stop_token& stop)
    {
        std::mutex guard;
        std::unique_lock lock(guard);
        std::condition_variable_any never;
        if (m_End) never.wait_for(lock, RetryPause / 10, [] { return false; });
        else never.wait_for(lock, stop, RetryPause, [] { return false; });
    }

    const PublicationSettings m_Settings;
    const OutgoingValuesRef m_Values;
    std::optional<Clock::time_point> m_End;
    QString m_Refused; ///< why the last one was
};

Publication::Publication(PublicationSettings settings)
    : m_Settings(std::move(settings))
    , m_Items(Patterns(m_Settings.Items))
{
}

Publication::~Publication()
{
    if (!m_Sender) return;
    m_Sender.reset();
    m_Settings.Device->RemoveUser(*this);
    const quint64 lost = m_Values->Finish();
    if (lost > 0)
        Log(LogLevel::Error, QStringLiteral("%1: %2 values are lost.").arg(NameOf(m_Settings), QString::number(lost)));
}

void Publication::Start()
{
    m_Values = MakeValues(m_Settings);
    m_Settings.Device->AddUser(*this);
    const auto sender = std::make_shared<Sender>(m_Settings, m_Values);
    m_Sender.emplace([sender](const std::stop_token& stop) { sender->Run(stop); }, LongestEnd);
}

bool Publication::Follows(const PlantItem& item)
{
    const QString path = item.Controller()->Name() + u'\\' + item.Name();
    const auto matches = [&](const QRegularExpression& pattern) { return pattern.match(path).hasMatch(); };
    if (std::ranges::none_of(m_Items, matches)) return false;
    const QByteArray topic = TopicFor(m_Settings.Topic, item.Controller()->Name(), item.Name());
    const bool isTopic = m_Settings.Outlet->IsTopic(topic);
    const bool isHeard = item.Variable() && m_Settings.Outlet->IsHeardBy(topic, *item.Variable());
    if (isTopic && !isHeard) return true;
    Log(LogLevel::Warning,
        QStringLiteral("%1: item \"%2\" is left out: %3.")
            .arg(NameOf(m_Settings), path,
                 isTopic ? QStringLiteral("it would hear itself") : QStringLiteral("there is no topic of its name")));
    return false;
}

void Publication::NoteChange(const PlantItem& item)
{
    if (!m_Values) return;
    m_Values->Add(
        {item.Controller()->Name(), item.Name(), item.LastValue(), item.Time(), static_cast<qint32>(item.State())});
}
