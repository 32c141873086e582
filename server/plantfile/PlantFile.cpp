#include "server/plantfile/PlantFile.h"

#include "core/automation/SafeArray.h"
#include "server/plantfile/DeviceReader.h"
#include "server/plantfile/HistorySection.h"
#include "server/plantfile/ItemReader.h"
#include "server/plantfile/PublishReader.h"
#include "server/plantfile/TagFile.h"

#include <QDir>
#include <QFileInfo>

#include <malloc.h>

namespace {

constexpr qint32 LongestScanTime = 24 * 60 * 60 * 1000;

void ReadScanTimes(FileTable& table, ControllerTraits& traits)
{
    const Variant value = table.Value("scan_times");
    if (!table.Has("scan_times")) return;
    const QList<Variant> times = value.IsArray() ? value.Array().Of<Variant>() : QList<Variant>();
    bool good = times.size() == 3;
    for (qsizetype i = 0; good && i < 3; ++i) {
        const qint32* time = times[i].GetIf<qint32>();
        good = time && *time >= 0 && *time <= LongestScanTime;
        if (good) traits.ScanTimes[static_cast<std::size_t>(i)] = *time;
    }
    if (!good)
        table.Refuse(
            "scan_times",
            QStringLiteral("three whole numbers must stand here, milliseconds from 0 to %1").arg(LongestScanTime));
}

/// Text mistakes are noted by the table, names that exist twice here. What stands in a controller without a name of its
/// own is read all the same, for the mistakes in it.
void ReadController(FileTable& table, Plant& plant, ItemReader& reader, bool keepsAddedItems)
{
    ControllerTraits traits;
    traits.Name = table.Name("name");
    traits.Description = table.Text("description");
    ReadScanTimes(table, traits);
    traits.SettingData = table.Values("setting_data");
    traits.Tag = table.Value("tag");
    traits.StartsActive = table.Flag("active", true);
    traits.SortsItems = table.Choice("added_items", {QStringLiteral("end"), QStringLiteral("sorted")}, 0) == 1;
    traits.KeepsAddedItems = table.Flag("keep_added_items", keepsAddedItems);
    const QString device = table.Text("device");
    auto items = table.Tables("item");
    const QString tags = table.Has("tags") ? table.Name("tags") : table.Text("tags");
    table.RefuseOthers();
    traits.Device = plant.FindSource(device);
    const bool isDeviceKnown = traits.Device || device.isEmpty();
    if (!isDeviceKnown) table.Refuse("device", QStringLiteral("there is no device \"%1\"").arg(device));
    const QString name = traits.Name;
    const bool isTaken = plant.Find(name) != nullptr;
    if (isTaken) table.Refuse("name", QStringLiteral("controller \"%1\" exists already").arg(name));
    if (isTaken || name.isEmpty()) traits.Name += QStringLiteral("\n%1").arg(plant.Controllers().size());
    const ItemOwner owner = {*plant.Add(std::move(traits)), name, isDeviceKnown};
    owner.Controller.Reserve(static_cast<qsizetype>(items.size()));
    for (FileTable& item : items) reader.Read(std::move(item), owner);
    if (tags.isEmpty()) return;
    try {
        ReadTags(tags, reader, owner);
    } catch (const DescribedError& error) {
        table.Refuse("tags", error.Description());
    }
}

QByteArray ContentOf(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) return file.readAll();
    throw PlantFileError(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
}

toml::table Parse(const QByteArray& text, Mistakes& mistakes)
{
    try {
        return toml::parse(std::string_view(text.constData(), static_cast<std::size_t>(text.size())));
    } catch (const toml::parse_error& error) {
        const std::string_view description = error.description();
        mistakes.Add(static_cast<int>(error.source().begin.line),
                     QString::fromUtf8(description.data(), static_cast<qsizetype>(description.size())));
        return {};
    }
}

/// For a plant that is only read.
class IdleHost : public PlantHost
{
public:
    Moment Now() override { return {}; }
    void After(qint32, std::function<void()>) override {}
    void Record(const PlantItem&, const ItemReading&) override {}
    void ScanSoon(PlantController&) override {}
    void Warn(const QString&) override {}
};

/// How many requests a second each line will see, a line each.
QString DescribeLoads(const Plant& plant)
{
    QMap<QString, double> loads;
    for (const PlantControllerRef& controller : plant.Controllers()) {
        for (int scanClass = 0; scanClass < 3; ++scanClass) {
            std::map<Source*, std::vector<SourceVariable*>> bySource;
            for (SourceVariable* variable : controller->AskedVariables(scanClass))
                bySource[variable->Owner()].push_back(variable);
            for (const auto& [source, variables] : bySource) {
                const auto load = source->LoadOf(variables);
                if (load && controller->ScanTime(scanClass) > 0)
                    loads[load->Line] += 1000.0 * static_cast<double>(load->Requests) / controller->ScanTime(scanClass);
            }
        }
    }
    QString text;
    for (auto load = loads.begin(); load != loads.end(); ++load)
        text += QStringLiteral("\n%1: %2 requests a second").arg(load.key(), QString::number(load.value(), 'f', 1));
    return text;
}

} // namespace

struct PlantFile::Content
{
    QByteArray Toml;
    toml::table Root;
};

PlantFile::PlantFile(QString path)
    : m_Path(std::move(path))
    , m_Content(std::make_unique<Content>())
{
}

PlantFile::~PlantFile()
{
    m_Content.reset();
    malloc_trim(0); // or all of it stays with the process
}

HistorySettings PlantFile::Fill(Plant& plant, ReadingProgress& progress)
{
    Mistakes mistakes(m_Path);
    m_Content->Toml = ContentOf(m_Path);
    m_Content->Root = Parse(m_Content->Toml, mistakes);
    progress.Check();
    HistorySettings history = DefaultHistorySettings();
    if (mistakes.IsEmpty()) {
        const QString folder = QFileInfo(m_Path).path();
        FileTable table(m_Content->Root, mistakes);
        for (FileTable& part : table.OptionalTable("history")) history = ReadHistory(std::move(part));
        const bool keepsAddedItems = table.Flag("keep_added_items", true);
        for (FileTable& part : table.Tables("device")) ReadDevice(std::move(part), plant, folder);
        ItemReader reader(plant, folder, mistakes, progress);
        for (FileTable& part : table.Tables("controller")) ReadController(part, plant, reader, keepsAddedItems);
        reader.Finish();
        for (FileTable& part : table.Tables("publish")) ReadPublish(std::move(part), plant);
        table.RefuseOthers();
    }
    if (!mistakes.IsEmpty()) throw PlantFileError(mistakes.Texts().join(u'\n'));
    return history;
}

const QByteArray& PlantFile::Toml() const
{
    return m_Content->Toml;
}

HistorySettings ReadPlantFile(const QString& path, Plant& plant)
{
    ReadingProgress progress;
    return PlantFile(path).Fill(plant, progress);
}

QString DescribePlantFile(const QString& path)
{
    IdleHost host;
    Plant plant(host);
    ReadPlantFile(path, plant);
    qsizetype items = 0;
    for (const PlantControllerRef& controller : plant.Controllers()) items += controller->Items().size();
    const QString text = QStringLiteral("%1: %2 controllers, %3 items");
    return text.arg(path, QString::number(plant.Controllers().size()), QString::number(items)) + DescribeLoads(plant);
}

HistorySettings HistoryOf(const QString& path)
{
    IdleHost host;
    Plant plant(host);
    return path.isEmpty() ? DefaultHistorySettings() : ReadPlantFile(path, plant);
}

QString UserPlantFile()
{
    const QString config = qEnvironmentVariable("XDG_CONFIG_HOME"); // an empty one counts as none
    return (config.isEmpty() ? QDir::homePath() + QStringLiteral("/.config") : config) +
           QStringLiteral("/velsql/plant.toml");
}
