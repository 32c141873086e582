#include "tests/simulation/SimulatedSources.h"

#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "server/plant/Convert.h"
#include "server/publishing/Publication.h"
#include "server/publishing/PublishedValue.h"
#include "server/sources/modbus/ModbusDevice.h"
#include "server/sources/mqtt/MqttSource.h"

namespace {

using namespace std::chrono_literals;

constexpr int Topics = 8;
constexpr int FirstRecorded = 35; ///< of the device's 40 items, none of which is written by clients
constexpr int MostUnderWay = 20;  ///< messages to a broker that answers at once
constexpr int Exception = 4;      ///< what changes by less is left out
constexpr const char* Host = "127.0.0.1";

SourceRef MakeUnit()
{
    LineSettings line;
    line.Host = QLatin1String(Host);
    line.Port = SimulatedUnit::Port;
    line.LongestPause = 500ms;
    UnitSettings unit;
    unit.Name = QStringLiteral("unit");
    unit.Timeout = 100ms; // who is silent may be left alone for forty times as long
    unit.TakesWrites = true;
    return std::make_shared<ModbusDevice>(QStringLiteral("modbus-tcp"), unit, std::make_shared<Line>(line));
}

std::shared_ptr<MqttSource> MakeBroker()
{
    BrokerSettings settings;
    settings.Host = QLatin1String(Host);
    settings.Port = SimulatedBroker::Port;
    settings.ClientId = QStringLiteral("velsql");
    return std::make_shared<MqttSource>(QStringLiteral("broker"), settings);
}

/// Of those that are the same, the last one.
QList<QByteArray> LastOnes(const QList<QByteArray>& messages)
{
    QList<QByteArray> last;
    QSet<QByteArray> seen;
    for (auto message = messages.crbegin(); message != messages.crend(); ++message) {
        if (seen.contains(*message)) continue;
        seen.insert(*message);
        last.append(*message);
    }
    std::ranges::reverse(last);
    return last;
}

} // namespace

/// What is to be published, in order, and what is heard of items that have sources.
class SimulatedSources::Changes : public ItemFollower
{
public:
    explicit Changes(SimulatedSources& owner)
        : m_Owner(owner)
    {
    }
    void Start() override {}
    bool Follows(const PlantItem& item) override { return item.Variable() || IsPublished(item); }
    void NoteChange(const PlantItem& item) override
    {
        const ItemReading reading{item.LastValue(), item.Time(), static_cast<qint32>(item.State())};
        if (item.Controller()->Name() == QStringLiteral("Unit") && reading.State == 0)
            m_Owner.CheckHad(item.Name(), reading.Value);
        if (item.Variable() && item.Controller()->Device()) m_Owner.m_Told[item.Name()].Changes.append(reading);
        if (!IsPublished(item)) return;
        All.append(JsonOf({item.Controller()->Name(), item.Name(), reading.Value, reading.Time, reading.State}));
    }

    QList<QByteArray> All;

private:
    static bool IsPublished(const PlantItem& item)
    {
        return item.Controller()->Name() == QStringLiteral("Own") || item.Name() == QStringLiteral("scans");
    }

    SimulatedSources& m_Owner;
};

SimulatedSources::SimulatedSources(kj::Timer& timer, Random& random, Trace& trace)
    : m_Random(random)
    , m_Trace(trace)
    , m_Unit(SimulatedUnit::Port, random, trace)
    , m_Broker(SimulatedBroker::Port, random, trace)
    , m_Device(std::make_shared<SimulatedDevice>(timer, random, trace))
    , m_Changes(std::make_shared<Changes>(*this))
{
    for (int i = 0; i < Topics; ++i) m_Broker.Publish(TopicOf(i), QByteArray::number(i), true);
}

void SimulatedSources::AddTo(Plant& plant, const QString& folder)
{
    const auto add = [&](const char* name, int scanTime, const SourceRef& device) -> PlantController& {
        plant.AddSource(device);
        return *plant.Add({.Name = QLatin1String(name), .ScanTimes = {scanTime, 0, 0}, .Device = device});
    };
    PlantController& device = add("Device", 200, m_Device);
    for (int i = 0; i < 40; ++i)
        device.Add({.Name = QStringLiteral("D%1").arg(i),
                    .Type = VT_I4,
                    .Historic = i >= FirstRecorded,
                    .Recorded = RecordRule{Exception, {}}},
                   m_Device->Bind({QString(), QString(), VT_I4}));
    const QString links[] = {QStringLiteral("D0"), QStringLiteral("Live\\L0"), QStringLiteral("Own\\Own0_3")};
    for (int i = 0; i < 3; ++i)
        device.Add({.Name = QStringLiteral("A%1").arg(i), .Kind = ItemKind::Alias, .Links = {links[i]}});
    PlantController& unit = add("Unit", 250, MakeUnit());
    for (int i = 0; i < SimulatedUnit::Count; i += 3)
        unit.Add(
            {.Name = QStringLiteral("U%1").arg(i), .Type = VT_UI2},
            unit.Device()->Bind({QStringLiteral("holding:%1").arg(i), QString(), VT_UI2, QString::number(1 + i % 2)}));
    const auto source = MakeBroker();
    PlantController& broker = add("Broker", 400, source);
    for (int i = 0; i < Topics; ++i)
        broker.Add({.Name = QStringLiteral("B%1").arg(i), .Type = VT_I4},
                   source->Bind({QString::fromLatin1(TopicOf(i)), QStringLiteral("qos=%1").arg(i % 2), VT_I4}));
    PublicationSettings published;
    published.Device = source;
    published.Outlet = source.get();
    published.Topic = QLatin1String(SimulatedBroker::Outward) + QStringLiteral("{item}");
    published.Items = {QStringLiteral("Own\\*"), QStringLiteral("Rhythm\\scans")};
    if (m_Random.OneIn(2)) published.OnDisk = SpoolSettings{folder + QStringLiteral("/outgoing")};
    plant.Follow(std::make_shared<Publication>(published));
    plant.Follow(m_Changes);
}

SimulatedPeer& SimulatedSources::AnyPeer()
{
    return m_Random.OneIn(2) ? static_cast<SimulatedPeer&>(m_Unit) : m_Broker;
}

void SimulatedSources::ChangeMood()
{
    const auto mood = static_cast<Mood>(m_Random.Below(5));
    if (m_Random.OneIn(2)) m_Device->SetMood(mood);
    else AnyPeer().SetMood(mood);
}

void SimulatedSources::ChangeReach()
{
    const bool isReachable = !m_Random.OneIn(3);
    if (m_Random.OneIn(2)) m_Device->SetConnected(isReachable);
    else AnyPeer().SetReachable(isReachable);
}

void SimulatedSources::Tell()
{
    m_Device->Tell();
    m_Unit.Change();
    const QByteArray payload = m_Random.OneIn(5) ? "none" : QByteArray::number(m_Random.Between(-99, 99));
    const bool isRetained = payload != "none" && m_Random.OneIn(2);
    m_Broker.Publish(TopicOf(m_Random.Between(0, Topics - 1)), payload, isRetained);
}

void SimulatedSources::ComeToRest()
{
    m_Device->SetConnected(true);
    m_Device->SetMood(Mood::Prompt);
    for (SimulatedPeer* peer : std::initializer_list<SimulatedPeer*>{&m_Unit, &m_Broker}) {
        peer->SetMood(Mood::Prompt);
        peer->SetReachable(true);
    }
}

void SimulatedSources::SetReachable(bool isReachable)
{
    m_Unit.SetReachable(isReachable);
    m_Broker.SetReachable(isReachable);
}

void SimulatedSources::CheckLost(const Plant& plant) const
{
    for (const char* name : {"Unit", "Broker"})
        for (const PlantItemRef& item : plant.Controller(QLatin1String(name))->Items())
            m_Trace.Require(item->State() == ItemState::Failed, item->Name() + QStringLiteral(" is not lost"));
}

void SimulatedSources::CheckStates(const Plant& plant) const
{
    for (const char* name : {"Device", "Unit", "Broker"}) {
        const PlantController& controller = *plant.Controller(QLatin1String(name));
        const bool isReachable = controller.Device()->IsReachable();
        m_Trace.Require(isReachable ? controller.State() != 3 : !controller.IsActive(),
                        QStringLiteral("%1 has the state %2").arg(controller.Name()).arg(controller.State()));
    }
}

void SimulatedSources::Check(const Plant& plant) const
{
    const auto require = [&](const PlantItem& item, const Variant& value) {
        m_Trace.Require(item.State() == ItemState::Succeeded && item.LastValue() == value,
                        QStringLiteral("%1 has not what its source has: %2").arg(item.Name(), item.Failure()));
    };
    for (int i = 0; i < SimulatedUnit::Count; i += 3)
        require(*plant.Controller(QStringLiteral("Unit"))->Item(QStringLiteral("U%1").arg(i)),
                Variant(m_Unit.Register(i)));
    for (int i = 0; i < Topics; ++i)
        require(*plant.Controller(QStringLiteral("Broker"))->Item(QStringLiteral("B%1").arg(i)),
                Variant(m_Broker.Retained(TopicOf(i)).toInt()));
    for (const PlantItemRef& item : plant.Controller(QStringLiteral("Added"))->Items()) {
        if (!item->Variable() || !item->Variable()->Owner()) continue;
        const QString name = item->Traits().Definition.Array().At(2).Get<QString>();
        if (name.startsWith(u'h')) require(*item, Variant(m_Unit.Register(name.section(u':', 1).toInt())));
    }
    CheckPublished();
    for (const auto& [item, value] : m_Delayed)
        if (m_Warnings.filter(u'"' + item + u'"').isEmpty()) CheckHad(item, value);
    for (const auto& [item, told] : m_Told) {
        const auto failsAgain = [](const ItemReading& one, const ItemReading& next) {
            return one.State == 1 && next.State == 1;
        };
        m_Trace.Require(std::ranges::adjacent_find(told.Changes, failsAgain) == told.Changes.end(),
                        item + QStringLiteral(" has failed twice in a row"));
        m_Trace.Require(told.Changes.isEmpty() || told.Changes.last().State == 0,
                        item + QStringLiteral(" has not been heard of since it failed"));
        if (!told.Recorded.isEmpty()) CheckExceptions(item, told);
    }
}

void SimulatedSources::NoteRecorded(const PlantItem& item, const ItemReading& reading)
{
    if (item.Controller()->Device()) m_Told[item.Name()].Recorded.append(reading);
}

void SimulatedSources::CheckHad(const QString& item, const Variant& value) const
{
    const auto number = ConvertTo(value, VT_UI2).Get<quint16>();
    m_Trace.Require(m_Unit.HasHad(item.mid(1).toInt(), number),
                    QStringLiteral("the register of %1 has never had %2").arg(item).arg(number));
}

/// Each reading of these items is a change.
void SimulatedSources::CheckExceptions(const QString& item, const Told& told) const
{
    const auto text = [](const ItemReading& reading) {
        return QStringLiteral("%1 at %2").arg(ToPlainText(reading.Value)).arg(reading.Time.time_since_epoch().count());
    };
    const auto number = [](const ItemReading& reading) {
        const qint32* found = reading.Value.GetIf<qint32>();
        return found ? *found : 0;
    };
    QStringList due, recorded;
    std::optional<ItemReading> last, leftOut;
    for (const ItemReading& reading : told.Changes) {
        const bool isNews =
            !last || last->State != reading.State || std::abs(number(reading) - number(*last)) >= Exception;
        if (isNews && leftOut) due.append(text(*leftOut));
        if (isNews) due.append(text(reading));
        if (isNews) last = reading;
        leftOut = isNews ? std::nullopt : std::optional(reading);
    }
    for (const ItemReading& reading : told.Recorded) recorded.append(text(reading));
    m_Trace.Require(
        due == recorded,
        QStringLiteral("of %1 are recorded %2, and %3 are due").arg(item).arg(recorded.size()).arg(due.size()));
}

/// What was not acknowledged comes again, with all that came behind it.
void SimulatedSources::CheckPublished() const
{
    const QList<QByteArray> last = LastOnes(m_Broker.ForOthers());
    const QList<QByteArray> due = LastOnes(m_Changes->All); // changes of the same microsecond may be the same
    const auto underWay = due.size() - last.size();
    m_Trace.Require(underWay >= 0 && underWay < MostUnderWay && due.first(last.size()) == last,
                    QStringLiteral("of %1 changes the broker has %2, and first another one than %3")
                        .arg(due.size())
                        .arg(last.size())
                        .arg(QString::fromUtf8(due.value(std::ranges::mismatch(due, last).in1 - due.begin()))));
}
