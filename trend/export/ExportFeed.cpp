#include "trend/export/ExportFeed.h"

#include <QElapsedTimer>
#include <QThread>

#include <algorithm>

namespace {

/// After so long a value has been recorded, as a rule.
constexpr Micros RecordingTime = MicrosASecond;
constexpr unsigned long PauseMs = 20;
constexpr qint64 TellMs = 100;

} // namespace

ExportFeed::ExportFeed(MakeLibrary make)
    : m_Make(std::move(make))
{
    qRegisterMetaType<ExportResult>();
}

void ExportFeed::Write(const ExportOrder& order)
{
    ExportResult result;
    try {
        const auto library = m_Make();
        const EngineRef engine = library->AttachEngine();
        AwaitRecording(order);
        result.Written = WriteFrom(*engine, order);
    } catch (const ExportCancelled&) {
        result.IsCancelled = true;
    } catch (...) {
        const QString why = CurrentErrorDescription();
        result.IsCancelled = m_IsCancelled;
        if (!result.IsCancelled)
            result.Failure =
                why.startsWith(order.Path) ? why : QStringLiteral("%1 is not written: %2").arg(order.Path, why);
    }
    Q_EMIT Finished(result);
}

WrittenTable ExportFeed::WriteFrom(VelSQLEngine& engine, const ExportOrder& order)
{
    QElapsedTimer sinceTold;
    sinceTold.start();
    const ExportWatch watch{[this] { return !m_IsCancelled; },
                            [&](Micros until, qint64 rows) {
                                if (rows % 64 != 0 || sinceTold.elapsed() < TellMs) return;
                                sinceTold.start();
                                Q_EMIT Progressed(until, rows);
                            }};
    const HistoryRef history = engine.get_History();
    try {
        WrittenTable written = WriteValueTable(order, history, watch);
        const bool endsNow = order.Of.To + RecordingTime > order.Now;
        if (endsNow && !history->get_Enabled())
            written.Missing.prepend(QStringLiteral("The history records nothing at present: of what came since it was "
                                                   "switched off only what was heard is there."));
        return written;
    } catch (const ServerError& error) {
        if (history->get_Enabled()) throw;
        WrittenTable written = WriteValueTable(order, nullptr, watch);
        written.Missing.prepend(QStringLiteral("There is no history, only what was heard: ") + error.Description());
        return written;
    }
}

/// Only where the span ends just now.
void ExportFeed::AwaitRecording(const ExportOrder& order) const
{
    QElapsedTimer time;
    time.start();
    const auto now = [&] { return order.Now + time.nsecsElapsed() / 1000; };
    while (now() < order.Of.To + RecordingTime) {
        if (m_IsCancelled) throw ExportCancelled();
        QThread::msleep(PauseMs);
    }
}
