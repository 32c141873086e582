#include "trend/export/ValueTable.h"

#include "trend/core/TimeText.h"
#include "trend/export/PenColumn.h"
#include "trend/files/RowFile.h"

#include <QStringBuilder>

#include <algorithm>

namespace {

/// The pages of all pens together.
constexpr qsizetype MostBytes = 64'000'000;
constexpr qsizetype MostBytesOfPen = 4'000'000;
/// The server keeps some hundred results for a client, and runs some dozens of statements.
constexpr qsizetype MostReadAhead = 16;

QStringList ColumnsOf(const ExportOrder& order)
{
    QStringList columns;
    for (const ExportedPen& pen : order.Pens) columns += ColumnName(pen.Settings);
    return columns;
}

/// What was heard is as new as what was recorded, or newer.
QList<Variant> HeldAtBeginning(const ExportOrder& order, const HistoryRef& history, const ExportWatch& watch)
{
    std::vector<Variant> recorded(order.Pens.size());
    if (history) recorded = RecordedBefore(*history, order.Pens, order.Of.From, watch.IsWanted);
    QList<Variant> held;
    for (std::size_t i = 0; i < order.Pens.size(); ++i)
        held += order.Pens[i].Held.IsEmpty() ? recorded[i] : order.Pens[i].Held;
    return held;
}

std::vector<PenColumn> OpenColumns(const ExportOrder& order, const HistoryRef& history, const ExportWatch& watch)
{
    const auto pens = static_cast<qsizetype>(std::max<std::size_t>(order.Pens.size(), 1));
    std::vector<PenColumn> columns;
    for (const ExportedPen& pen : order.Pens) {
        auto recorded = history ? std::make_unique<RecordedValues>(history, pen, order.Of,
                                                                   std::min(MostBytes / pens, MostBytesOfPen),
                                                                   pens <= MostReadAhead, watch.IsWanted)
                                : nullptr;
        columns.emplace_back(pen, std::move(recorded));
    }
    return columns;
}

bool IsThere(const Variant& cell)
{
    return !cell.IsEmpty();
}

/// Of items that are not recorded there is only what was heard.
QStringList MissingOf(const ExportOrder& order, const QList<Variant>& held, const std::vector<PenColumn>& columns)
{
    QStringList missing;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const ExportedPen& pen = order.Pens[i];
        if (columns[i].WasRecorded() || pen.Heard.empty() || IsThere(held[static_cast<qsizetype>(i)])) continue;
        missing += QString(pen.Settings.Name() % u": nothing of it is recorded; what was heard begins at " %
                           MomentText(pen.Heard.front().Time));
    }
    return missing;
}

} // namespace

WrittenTable WriteValueTable(const ExportOrder& order, const HistoryRef& history, const ExportWatch& watch)
{
    RowFile file(order.Path, ColumnsOf(order)); // before anything is asked: it may not be possible
    WrittenTable written;
    const QList<Variant> held = HeldAtBeginning(order, history, watch);
    std::vector<PenColumn> columns = OpenColumns(order, history, watch);
    QList<Variant> cells = held;
    for (qsizetype i = 0; i < cells.size(); ++i)
        if (columns[static_cast<std::size_t>(i)].NextTime() == order.Of.From) cells[i] = Variant(); // comes right then
    Micros time = order.Of.From;
    if (std::any_of(cells.begin(), cells.end(), IsThere)) file.Add(time, cells), ++written.Rows;
    for (;;) {
        time = Span::Latest;
        for (const PenColumn& column : columns) time = std::min(time, column.NextTime());
        if (time == Span::Latest) break;
        for (qsizetype i = 0; i < cells.size(); ++i) cells[i] = columns[static_cast<std::size_t>(i)].Take(time);
        file.Add(time, cells);
        ++written.Rows;
        if (!watch.IsWanted()) throw ExportCancelled();
        watch.Tell(time, written.Rows);
    }
    file.Finish();
    written.Missing = MissingOf(order, held, columns);
    return written;
}
