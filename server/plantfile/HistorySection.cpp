#include "server/plantfile/HistorySection.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "server/plant/DurationText.h"

namespace {

struct Unit
{
    QStringView Name;
    double Bytes;
};

constexpr std::array<Unit, 4> Units = {{{u"kB", 1e3}, {u"MB", 1e6}, {u"GB", 1e9}, {u"TB", 1e12}}};
/// Less would let partitions go before their rows are put in order.
constexpr double FewestBytes = 100e6;
constexpr double MostBytes = 1e18;

/// "20 GB"; empty when it is none.
std::optional<qint64> SizeOf(QStringView text)
{
    const QStringView whole = WithoutOuterBlanks(text);
    const qsizetype digits = NumberLength(whole);
    const double number = ParseNumber(whole.first(digits)).value_or(-1);
    const QStringView name = WithoutOuterBlanks(whole.sliced(digits));
    for (const Unit& unit : Units) {
        const double bytes = number * unit.Bytes;
        if (name == unit.Name && bytes >= FewestBytes && bytes <= MostBytes) return static_cast<qint64>(bytes);
    }
    return number == 0 && name.isEmpty() ? std::optional(qint64{0}) : std::nullopt;
}

std::optional<qint64> ReadMaxSize(FileTable& table)
{
    if (!table.Has("max_size")) return std::nullopt;
    const QString text = table.Text("max_size");
    const std::optional<qint64> size = SizeOf(text);
    if (!size && !text.isEmpty())
        table.Refuse("max_size",
                     QStringLiteral("\"%1\" is not a size such as 20 GB (100 MB or more; 0: any)").arg(text));
    return size;
}

std::chrono::seconds ReadKeep(FileTable& table)
{
    const QString text = table.Text("keep");
    try {
        if (!text.isEmpty()) return std::chrono::ceil<std::chrono::seconds>(ReadDuration(text));
    } catch (const ValueError& error) {
        table.Refuse("keep", error.Description());
    }
    return {};
}

HistoryDestination ReadDestination(FileTable table, HistoryDestination destination)
{
    destination.ConnectionString = table.Text("connection", destination.ConnectionString);
    destination.TableName = table.Text("table", destination.TableName);
    destination.MaxRecord = table.Integer("max_record", 0, 2'147'483'647, destination.MaxRecord);
    destination.MaxBytes = ReadMaxSize(table);
    destination.Keep = ReadKeep(table);
    table.RefuseOthers();
    try {
        if (!destination.ConnectionString.isEmpty()) const DatabaseAddress address(destination.ConnectionString);
    } catch (const DescribedError& error) {
        table.Refuse("connection", error.Description());
    }
    return destination;
}

} // namespace

HistorySettings ReadHistory(FileTable table)
{
    HistorySettings settings = DefaultHistorySettings();
    settings.Enabled = table.Flag("enabled", true);
    constexpr qint32 MostSeconds = 30 * 24 * 60 * 60;
    settings.Limits.UntilFirstPage = std::chrono::seconds(table.Integer("statement_timeout", 0, MostSeconds, 600));
    settings.Limits.ResultBytes = table.Integer("result_megabytes", 0, 1'000'000, 0) * qint64{1024 * 1024};
    settings.Spool.MostBytes = table.Integer("spool_megabytes", 1, 100'000'000, 10 * 1024) * qint64{1024 * 1024};
    const auto surviving =
        static_cast<Durability>(table.Choice("durability", {QStringLiteral("process"), QStringLiteral("power")}, 0));
    auto destinations = table.Tables("destination");
    table.RefuseOthers();
    if (destinations.size() > settings.Destinations.size())
        table.Refuse("destination", QStringLiteral("there are at most two destinations"));
    for (std::size_t i = 0; i < std::min(destinations.size(), settings.Destinations.size()); ++i)
        settings.Destinations[i] = ReadDestination(std::move(destinations[i]), settings.Destinations[i]);
    for (HistoryDestination& destination : settings.Destinations) destination.Surviving = surviving;
    return settings;
}
