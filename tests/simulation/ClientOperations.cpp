#include "tests/simulation/ClientOperations.h"

#include "velsqllib/ValueText.h"

#include "tests/simulation/SocketPair.h"

#include <algorithm>
#include <unistd.h>

namespace {

/// Of every type, and at their ends.
const QList<Variant>& SomeValues()
{
    static const QList<Variant> values = [] {
        QList<Variant> made;
        const QString texts = QStringLiteral(
            "1;11,True;16,-128;17,255;2,-32768;18,65535;3,25;19,4294967295;4,0.1;5,1E+20;5,NaN;5,-0;6,-0.0001;"
            "7,2024-01-31 12:00:00.250;8,;8,a, \"b\";8195,1,2,3;8200,ab,\"\";8195,;8204,{3,25},{8,ab},{0},{8204,{5,2}};"
            "8195,[1..]10,20");
        for (const QString& text : texts.split(u';')) made.append(ReadTypedText(text));
        return made;
    }();
    return values;
}

QString AnyController(World& world)
{
    return world.Chance.OneOf(SimulatedServer::TouchedControllers());
}

/// An item that anybody may write, and its controller: as a rule one that is there.
std::pair<QString, QString> AnyItem(World& world)
{
    switch (world.Chance.Below(10)) {
    case 0: return {QStringLiteral("Live"), QStringLiteral("clock")};
    case 1:
    case 2: return {QStringLiteral("Live"), QStringLiteral("L%1").arg(world.Chance.Between(0, 12))};
    case 3: return {QStringLiteral("Device"), QStringLiteral("A%1").arg(world.Chance.Between(0, 1))};
    case 4: return {QStringLiteral("Added"), QStringLiteral("X%1").arg(world.Chance.Between(1, world.LastName + 1))};
    case 5: return {QStringLiteral("Unit"), QStringLiteral("U%1").arg(3 * world.Chance.Between(0, 33))};
    case 6: return {QStringLiteral("Broker"), QStringLiteral("B%1").arg(world.Chance.Between(0, 7))};
    default: return {QStringLiteral("Device"), QStringLiteral("D%1").arg(world.Chance.Between(0, 4))};
    }
}

/// Of a new item: none, what it is linked to (what is there, what may come or go, a circle), or a variable.
QString AnyOrigin(World& world)
{
    switch (world.Chance.Below(6)) {
    case 0:
    case 1: return QStringLiteral("holding:%1").arg(world.Chance.Between(0, 99));
    case 2: return QStringLiteral("plant/b%1").arg(world.Chance.Between(0, 7));
    case 3: {
        const auto [controller, item] = AnyItem(world);
        return controller + u'\\' + item;
    }
    default: return {};
    }
}

template <typename Action>
void WithClient(World& world, Action action)
{
    if (SimulatedClient* client = world.AnyClient()) action(*client);
}

template <typename Action>
void WithItem(World& world, Action action)
{
    WithClient(world, [&](SimulatedClient& client) {
        const auto [controller, item] = AnyItem(world);
        action(client, controller, item);
    });
}

} // namespace

SimulatedClient* World::AnyClient()
{
    std::vector<SimulatedClient*> there;
    for (const auto& client : Clients)
        if (client) there.push_back(client.get());
    return there.empty() ? nullptr : Chance.OneOf(there);
}

void ClientOperations::Connect(World& world)
{
    const auto there = std::ranges::count_if(world.Clients, [](const auto& client) { return client != nullptr; });
    if (world.Server.ClientCount() != there) return; // what the one before has sent may still be on its way
    const auto place = static_cast<std::size_t>(world.Chance.Below(world.Clients.size()));
    if (world.Clients[place]) return;
    world.Log.Note(QStringLiteral("c%1 comes").arg(place));
    world.Clients[place] =
        std::make_unique<SimulatedClient>(world.Loop, world.Server, world.Log, world.Known, static_cast<int>(place));
}

void ClientOperations::Disconnect(World& world)
{
    world.Clients[static_cast<std::size_t>(world.Chance.Below(world.Clients.size()))] = nullptr;
}

void ClientOperations::SendRubbish(World& world)
{
    auto ends = SocketPair();
    world.Server.Accept(kj::mv(ends[0]), SimulatedServer::Manners::Any);
    QByteArray bytes(world.Chance.Between(1, 3000), Qt::Uninitialized);
    const quint64 most = world.Chance.OneIn(2) ? 256 : 3; // small numbers look like sizes
    for (char& byte : bytes) byte = static_cast<char>(world.Chance.Below(most));
    if (write(ends[1].get(), bytes.constData(), static_cast<std::size_t>(bytes.size())) < 0)
        throw DescribedError(qt_error_string());
}

void ClientOperations::PutOwn(World& world)
{
    WithClient(world, [&](SimulatedClient& client) {
        for (int count = world.Chance.Between(1, 4); count > 0; --count) {
            const int item = world.Chance.Between(0, SimulatedServer::OwnItems - 1);
            const bool isRecorded = item == SimulatedServer::OwnItems - 1;
            client.PutOwn(item, isRecorded ? Variant(++world.LastNumber) : world.Chance.OneOf(SomeValues()));
            client.GetOwn(item);
        }
    });
}

void ClientOperations::GetOwn(World& world)
{
    WithClient(world,
               [&](SimulatedClient& client) { client.GetOwn(world.Chance.Between(0, SimulatedServer::OwnItems - 1)); });
}

void ClientOperations::Get(World& world)
{
    WithItem(world, [](auto& client, auto& controller, auto& item) { client.Get(controller, item); });
}

void ClientOperations::GetBurst(World& world)
{
    WithClient(world, [&](SimulatedClient& client) {
        for (int count = world.Chance.Between(1, 10); count > 0; --count) client.GetKnown();
    });
}

void ClientOperations::Put(World& world)
{
    WithItem(world, [&](auto& client, auto& controller, auto& item) {
        client.Put(controller, item, world.Chance.OneOf(SomeValues()));
    });
}

void ClientOperations::PutLater(World& world)
{
    WithItem(world, [&](auto& client, auto& controller, auto& item) {
        client.PutLater(controller, item, Variant(++world.LastNumber), world.Chance.Between(-1, 3000));
    });
}

void ClientOperations::PutActivation(World& world)
{
    WithItem(world, [&](auto& client, auto& controller, auto& item) {
        const bool isOff = controller != QStringLiteral("Unit") && world.Chance.OneIn(3); // those are written
        client.PutActivation(controller, item, !isOff);
    });
}

void ClientOperations::ReadItem(World& world)
{
    WithItem(world, [&](auto& client, auto& controller, auto& item) {
        for (int count = world.Chance.Between(1, 5); count > 0; --count) client.ReadItem(controller, item);
    });
}

void ClientOperations::ReadController(World& world)
{
    WithClient(world, [&](SimulatedClient& client) { client.ReadController(AnyController(world)); });
}

void ClientOperations::SwitchController(World& world)
{
    WithClient(world,
               [&](SimulatedClient& client) { client.SwitchController(AnyController(world), !world.Chance.OneIn(3)); });
}

void ClientOperations::AddItem(World& world)
{
    WithClient(world, [&](SimulatedClient& client) {
        for (int count = world.Chance.Between(1, 3); count > 0; --count)
            client.AddItem(QStringLiteral("X%1").arg(++world.LastName), AnyOrigin(world));
    });
}

void ClientOperations::RemoveItem(World& world)
{
    QStringList names(world.Known.Added.begin(), world.Known.Added.end());
    if (names.isEmpty()) return;
    names.sort();
    WithClient(world, [&](SimulatedClient& client) {
        const QString& name = world.Chance.OneOf(names);
        if (world.Chance.OneIn(2)) client.Put(QStringLiteral("Added"), name, Variant(++world.LastNumber)); // on its way
        client.RemoveItem(name);
    });
}

void ClientOperations::Subscribe(World& world)
{
    WithClient(world, [&](SimulatedClient& client) {
        if (client.Subscriptions() > 5) return;
        const quint16 level = world.Chance.OneIn(3) ? quint16{0} : wire::LEVEL;
        client.Subscribe(AnyController(world), level, world.Chance.OneIn(3) ? world.Chance.Between(1, 300) : 0);
    });
}

void ClientOperations::Unsubscribe(World& world)
{
    WithClient(world, [&](SimulatedClient& client) {
        if (client.Subscriptions() > 0) client.Unsubscribe(world.Chance.Below(client.Subscriptions()));
    });
}

void ClientOperations::Execute(World& world)
{
    static const QStringList commands = {QStringLiteral("disturb Item(Live\\L1).get_Value slow 250"),
                                         QStringLiteral("disturb Item(Device\\D1).get_Value fail not now"),
                                         QStringLiteral("calls"),
                                         QStringLiteral("restore"),
                                         QStringLiteral("restore"),
                                         QStringLiteral("fire Own item Own0_0 200"),
                                         QStringLiteral("fire Live state 1 40"),
                                         QStringLiteral("sleep 400"),
                                         QStringLiteral("return 8204,{3,1}"),
                                         QStringLiteral("object Live L1"),
                                         QStringLiteral("references"),
                                         QStringLiteral("devices"),
                                         QStringLiteral("nonsense"),
                                         QStringLiteral("state Added 7")};
    WithClient(world, [&](SimulatedClient& client) { client.Execute(world.Chance.OneOf(commands)); });
}

void ClientOperations::AskHistory(World& world)
{
    static const QStringList statements = {
        QStringLiteral("SELECT 1"),
        QStringLiteral("SELECT * FROM velsql_history"),
        QStringLiteral("SELECT count(*), max(value_number) FROM velsql_values WHERE item_name = 'scans'"),
        QStringLiteral("SELECT start_time, mean_value FROM velsql_minutes"),
        QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n"), // no end
        QStringLiteral("nonsense")};
    WithClient(world, [&](SimulatedClient& client) {
        if (world.Chance.OneIn(4)) client.ForgetResults();
        client.AskHistory(world.Chance.OneOf(statements));
    });
}

void ClientOperations::StopReading(World& world)
{
    WithClient(world, [](SimulatedClient& client) { client.SetReading(false); });
}

void ClientOperations::ReadOn(World& world)
{
    for (const auto& client : world.Clients)
        if (client) client->SetReading(true);
}
