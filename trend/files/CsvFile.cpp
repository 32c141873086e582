#include "trend/files/CsvFile.h"

#include "trend/core/Columns.h"
#include "trend/core/Statistics.h"
#include "trend/files/RowFile.h"

#include <QStringBuilder>

#include <algorithm>

namespace {

std::vector<const Pen*> VisibleOf(std::span<const Pen* const> pens)
{
    std::vector<const Pen*> visible;
    std::copy_if(pens.begin(), pens.end(), std::back_inserter(visible),
                 [](const Pen* pen) { return pen->Settings.IsVisible; });
    return visible;
}

QStringList IntervalColumns(const Pen& pen)
{
    const QString name = ColumnName(pen.Settings);
    if (pen.Kind == PenKind::Texts) return {name};
    return {QString(name % u" smallest"), QString(name % u" mean"), QString(name % u" largest")};
}

QList<Variant> IntervalCells(const Pen& pen, const Span& interval)
{
    if (pen.Kind == PenKind::Texts) {
        const auto mark = pen.Texts.At(interval.From);
        return {mark ? Variant(mark->Text) : Variant()};
    }
    const auto figures = StatisticsOf(pen.Values, interval, pen.Settings.Drawn);
    if (!figures) return {Variant(), Variant(), Variant()};
    return {Variant(figures->Values.Smallest), Variant(figures->Mean), Variant(figures->Values.Largest)};
}

} // namespace

void CsvFile::WriteIntervals(const QString& path, std::span<const Pen* const> pens, const Span& shown, int intervals)
{
    const std::vector<const Pen*> visible = VisibleOf(pens);
    const int count = std::clamp(intervals, 1, MostIntervals);
    QStringList columns;
    for (const Pen* pen : visible) columns += IntervalColumns(*pen);
    RowFile file(path, columns);
    ColumnBorders borders(shown, count);
    for (Micros from = borders.Next(), to = 0; from < shown.To; from = to) {
        to = borders.Next();
        const Span interval{from, to};
        QList<Variant> cells;
        for (const Pen* pen : visible) cells += IntervalCells(*pen, interval);
        file.Add(interval.From, cells);
    }
    file.Finish();
}
