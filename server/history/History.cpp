#include "server/history/History.h"

#include "core/automation/Errors.h"
#include "server/database/PrivateFile.h"
#include "server/log/Log.h"
#include "velsqllib/StateFolder.h"

namespace {

QString OwnDatabase()
{
    return StateFolder() + QStringLiteral("/history.db");
}

QString OwnConnection()
{
    return QStringLiteral("Driver=SQLite;Database=") + OwnDatabase();
}

} // namespace

HistorySettings DefaultHistorySettings()
{
    HistorySettings settings;
    settings.Destinations[0].ConnectionString = OwnConnection();
    settings.Spool.Folder = StateFolder() + QStringLiteral("/spool");
    return settings;
}

History::History(HistorySettings settings, kj::Timer& timer)
    : m_Settings(std::move(settings))
    , m_Runner(m_Settings.Limits, timer)
{
    for (int index : {1, 2}) {
        const HistoryDestination& destination = Destination(index);
        const bool isOwn = destination.ConnectionString == OwnConnection();
        // An earlier version left this to the umask.
        if (isOwn) TakeFromOthers(OwnDatabase());
        if (m_Settings.Enabled && !destination.ConnectionString.isEmpty())
            m_Recorders.emplace_back(index, destination, m_Settings.Spool);
    }
    SayWhatWaitsForOthers();
}

History::~History()
{
    m_Runner.RequestStop();
    for (Recorder& recorder : m_Recorders) recorder.RequestStop();
}

void History::Record(const RecordedValue& value)
{
    for (Recorder& recorder : m_Recorders) recorder.Record(value);
}

bool History::Flush(int milliseconds)
{
    bool all = true;
    for (Recorder& recorder : m_Recorders) all = recorder.Flush(milliseconds) && all;
    return all;
}

QString History::ConnectionString(qint32 index) const
{
    const QString& text = Destination(index).ConnectionString;
    return text.isEmpty() ? text : DatabaseAddress(text).Shown();
}

qint32 History::MaxRecord(qint32 index) const
{
    return Destination(index).MaxRecord;
}

QString History::TableName(qint32 index) const
{
    return Destination(index).TableName;
}

kj::Promise<ResultSpoolRef> History::Ask(Inquiry asked, const HistoryUserRef& user)
{
    if (Destination(1).ConnectionString.isEmpty())
        throw ServerError(QStringLiteral("The history has no destination 1 to query."));
    return m_Runner.Run(Destination(1), std::move(asked), user);
}

void History::SayWhatWaitsForOthers() const
{
    QStringList used;
    for (const HistoryDestination& destination : m_Settings.Destinations)
        if (!destination.ConnectionString.isEmpty()) used.append(NameOf(destination));
    for (const QString& line : SpoolFolder::LeftForOthers(m_Settings.Spool.Folder, used)) Log(LogLevel::Warning, line);
}

const HistoryDestination& History::Destination(qint32 index) const
{
    if (index != 1 && index != 2)
        throw ServerError(QStringLiteral("The history has the destinations 1 and 2, not %1.").arg(index));
    return m_Settings.Destinations[static_cast<std::size_t>(index - 1)];
}
