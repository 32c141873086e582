#include "trend/files/CsvFile.h"

#include "resulttext/RowWriter.h"
#include "trend/core/Columns.h"
#include "trend/core/Statistics.h"
#include "trend/core/TimeText.h"
#include "trend/files/FileOutput.h"
#include "trend/files/UtcText.h"

#include <QStringBuilder>

#include <algorithm>

namespace {

constexpr int Decimals = 3; ///< of seconds, where a time has no more

std::vector<const Pen*> VisibleOf(std::span<const Pen* const> pens)
{
    std::vector<const Pen*> visible;
    std::copy_if(pens.begin(), pens.end(), std::back_inserter(visible),
                 [](const Pen* pen) { return pen->Settings.IsVisible; });
    return visible;
}

Variant NumberCell(const Pen& pen, double value)
{
    const bool isTruth = pen.Kind == PenKind::Boolean && value == value;
    return isTruth ? Variant(value != 0) : Variant(value);
}

/// Rows on their way into a file.
class RowFile
{
public:
    RowFile(const QString& path, const QStringList& columns)
        : m_File(path)
        , m_Writer(MakeCsvWriter([](const Variant&) { return QString(); })) // a pen has no arrays
    {
        m_Writer->WriteHead(m_Text, QStringList{QStringLiteral("Time"), QStringLiteral("UTC")} + columns);
    }

    void Add(Micros time, const QList<Variant>& cells)
    {
        m_Writer->WriteRow(m_Text, QList<Variant>{MomentText(time, Decimals), MomentToUtc(time)} + cells);
        if (m_Text.size() > MostInMemory) Flush();
    }

    void Finish()
    {
        m_Writer->WriteTail(m_Text);
        Flush();
        m_File.Finish();
    }

private:
    static constexpr qsizetype MostInMemory = 100'000;

    void Flush()
    {
        m_File.Write(m_Text.toUtf8());
        m_Text.clear();
    }

    FileOutput m_File;
    RowWriterRef m_Writer;
    QString m_Text;
};

QString NameOf(const Pen& pen)
{
    const PenSettings& settings = pen.Settings;
    return settings.Unit.isEmpty() ? settings.Name() : QString(settings.Name() % u" [" % settings.Unit % u']');
}

/// What a pen has got in a span, one after the other.
class PenValues
{
public:
    PenValues(const Pen& pen, const Span& shown)
        : m_Pen(pen)
        , m_Next(pen.Values.Find(shown.From))
        , m_End(pen.Values.Find(shown.To))
        , m_Marks(pen.Texts.Within(shown))
    {
    }

    /// What held before the first one; nothing where that comes right then.
    Variant At(Micros time) const
    {
        if (NextTime() == time) return {};
        if (m_Pen.Kind == PenKind::Texts) {
            const auto mark = m_Pen.Texts.At(time);
            return mark ? Variant(mark->Text) : Variant();
        }
        const Series& values = m_Pen.Values;
        const auto value = values.At(time, m_Pen.Settings.Drawn);
        const bool isBad = m_Next > 0 && values.IsGap(m_Next - 1) && time <= values.HeldUntil();
        return value ? NumberCell(m_Pen, *value) : isBad ? Variant(values.ValueAt(m_Next - 1)) : Variant();
    }

    Micros NextTime() const
    {
        if (m_Pen.Kind == PenKind::Texts) return m_Marks.empty() ? Span::Latest : m_Marks.front().Time;
        return m_Next < m_End ? m_Pen.Values.TimeAt(m_Next) : Span::Latest;
    }

    /// The next one if it came at this time.
    Variant Take(Micros time)
    {
        if (NextTime() != time) return {};
        if (m_Pen.Kind != PenKind::Texts) return NumberCell(m_Pen, m_Pen.Values.ValueAt(m_Next++));
        const Variant text(m_Marks.front().Text);
        m_Marks = m_Marks.subspan(1);
        return text;
    }

private:
    const Pen& m_Pen;
    std::size_t m_Next;
    std::size_t m_End;
    std::span<const Marks::Mark> m_Marks;
};

QStringList IntervalColumns(const Pen& pen)
{
    const QString name = NameOf(pen);
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

void CsvFile::WriteValues(const QString& path, std::span<const Pen* const> pens, const Span& shown)
{
    QStringList columns;
    std::vector<PenValues> values;
    for (const Pen* pen : VisibleOf(pens)) {
        columns += NameOf(*pen);
        values.emplace_back(*pen, shown);
    }
    RowFile file(path, columns);
    QList<Variant> cells;
    for (const PenValues& pen : values) cells += pen.At(shown.From);
    const auto hasValue = [](const Variant& cell) { return !cell.IsEmpty(); };
    if (std::any_of(cells.begin(), cells.end(), hasValue)) file.Add(shown.From, cells);
    for (;;) {
        Micros time = Span::Latest;
        for (const PenValues& pen : values) time = std::min(time, pen.NextTime());
        if (time >= shown.To) break;
        for (qsizetype i = 0; i < cells.size(); ++i) cells[i] = values[static_cast<std::size_t>(i)].Take(time);
        file.Add(time, cells);
    }
    file.Finish();
}

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
