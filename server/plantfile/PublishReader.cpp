#include "server/plantfile/PublishReader.h"

#include "server/publishing/Publication.h"
#include "velsqllib/StateFolder.h"

namespace {

constexpr qint32 MostInMemory = 1'000'000;
constexpr qint32 MostMegabytes = 100'000'000;

void ReadDevice(FileTable& table, const Plant& plant, PublicationSettings& settings)
{
    const QString name = table.Name("device");
    if (name.isEmpty()) return;
    settings.Device = plant.FindSource(name);
    settings.Outlet = dynamic_cast<MessageOutlet*>(settings.Device.get());
    if (!settings.Device) table.Refuse("device", QStringLiteral("there is no device \"%1\"").arg(name));
    else if (!settings.Outlet) table.Refuse("device", QStringLiteral("it takes no messages"));
}

/// Names are not known here: the plain rest must be a topic.
void ReadTopic(FileTable& table, PublicationSettings& settings)
{
    settings.Topic = table.Text("topic", QStringLiteral("velsql/{controller}/{item}"));
    QString rest = settings.Topic;
    for (const char* name : {"{controller}", "{item}"}) rest.replace(QLatin1StringView(name), QStringLiteral("x"));
    if (settings.Outlet && !settings.Outlet->IsTopic(rest.toUtf8()))
        table.Refuse("topic", QStringLiteral("\"%1\" is no topic that can be written").arg(settings.Topic));
}

void ReadQueue(FileTable& table, PublicationSettings& settings)
{
    const bool isOnDisk = table.Choice("queue", {QStringLiteral("memory"), QStringLiteral("disk")}, 0) == 1;
    settings.MostInMemory = static_cast<std::size_t>(table.Integer("queue_values", 1, MostInMemory, 100'000));
    const qint32 megabytes = table.Integer("queue_megabytes", 1, MostMegabytes, 1024);
    if (table.Has(isOnDisk ? "queue_values" : "queue_megabytes"))
        table.Refuse(isOnDisk ? "queue_values" : "queue_megabytes",
                     QStringLiteral("it belongs to a queue that is %1")
                         .arg(QLatin1StringView(isOnDisk ? "in memory" : "on disk")));
    if (isOnDisk) settings.OnDisk = {StateFolder() + QStringLiteral("/publish"), qint64{megabytes} * 1024 * 1024};
}

} // namespace

void ReadPublish(FileTable table, Plant& plant)
{
    PublicationSettings settings;
    ReadDevice(table, plant, settings);
    ReadTopic(table, settings);
    ReadQueue(table, settings);
    if (table.Has("items")) settings.Items = table.Texts("items");
    else table.Texts("items");
    settings.Qos = table.Integer("qos", 0, 2, 1);
    settings.Retains = table.Flag("retain", false);
    table.RefuseOthers();
    if (settings.Outlet) plant.Follow(std::make_shared<Publication>(std::move(settings)));
}
