#include "trend/data/HistoryReads.h"

#include "core/automation/SafeArray.h"
#include "trend/core/IntervalSamples.h"
#include "trend/data/HistoryRows.h"
#include "trend/data/Reading.h"

#include <cmath>
#include <map>

namespace {

/// As the history names them.
struct IntervalRow
{
    explicit IntervalRow(const Rows& rows)
        : Item(rows.Cell(0).Get<QString>())
        , FirstCell(rows.Cell(3))
        , LastCell(rows.Cell(6))
        , Count(rows.Number(7))
        , Figures{.Begin = std::llround(rows.Number(2)),
                  .First = rows.Number(3),
                  .Smallest = rows.Number(4),
                  .Largest = rows.Number(5),
                  .Last = rows.Number(6),
                  .HasGap = rows.Number(8) != 0}
    {
        // The first and the last value may be no number although there are some between them.
        if (std::isnan(Figures.First)) Figures.First = Figures.Smallest;
        if (std::isnan(Figures.Last)) Figures.Last = Figures.Largest;
    }
    static Variant Aggregates()
    {
        return SafeArray(QList<QString>{QStringLiteral("First"), QStringLiteral("Minimum"), QStringLiteral("Maximum"),
                                        QStringLiteral("Last"), QStringLiteral("Count")});
    }

    QString Item;
    Variant FirstCell;
    Variant LastCell;
    double Count;
    IntervalFigures Figures;
};

Variant TextsOf(const QStringList& items)
{
    return SafeArray(QList<QString>(items));
}

void AddText(HistoryAnswer& answer, Micros time, const Variant& value)
{
    if (!value.GetIf<QString>()) return;
    answer.HasTexts = true;
    answer.Texts.push_back({time, ReadingOf(value).Text});
}

void AddRow(HistoryAnswer& answer, std::vector<IntervalFigures>& figures, const IntervalRow& row, Micros interval)
{
    figures.push_back(row.Figures);
    AddText(answer, row.Figures.Begin, row.FirstCell);
    if (row.LastCell != row.FirstCell) AddText(answer, row.Figures.Begin + interval / 4 * 3, row.LastCell);
}

void AddRow(HistoryAnswer& answer, const RecordedRow& row)
{
    if (row.IsContinuation()) { // what follows has not been read
        answer.Known.To = row.Time;
        return;
    }
    if (!row.IsValue()) return;
    if (row.Time < answer.Known.From) answer.Known.From = row.Time;
    if (row.Time >= answer.Known.To) answer.Known.To = row.Time + 1;
    answer.Samples.push_back({row.Time, row.Number()});
    AddText(answer, row.Time, row.Value);
}

} // namespace

QList<HistoryAnswer> HistoryReads::Intervals(const QStringList& items, const Span& span, Micros interval,
                                             Counts* counts)
{
    const Span asked = Aligned(span, interval);
    Rows rows(m_History.ReadProcessed(TextsOf(items), TimeOf(asked.From), TimeOf(asked.To), TimeOf(interval),
                                      IntervalRow::Aggregates()),
              m_IsWanted);
    struct Gathered
    {
        HistoryAnswer Answer;
        std::vector<IntervalFigures> Figures;
    };
    std::map<QString, Gathered> gathered;
    while (rows.Next()) {
        const IntervalRow row(rows);
        Gathered& item = gathered[row.Item];
        AddRow(item.Answer, item.Figures, row, interval);
        if (counts) (*counts)[row.Item] += row.Count;
    }
    CheckWanted();
    QList<HistoryAnswer> answers;
    for (auto& [name, item] : gathered) {
        item.Answer.Item = name;
        item.Answer.Known = asked;
        item.Answer.Interval = interval;
        item.Answer.Samples = SamplesOf(item.Figures, asked.To);
        answers.append(std::move(item.Answer));
    }
    return answers;
}

QList<HistoryAnswer> HistoryReads::Values(const QStringList& items, const Span& span)
{
    Rows rows(m_History.ReadRaw(TextsOf(items), TimeOf(span.From), TimeOf(span.To), true,
                                static_cast<qint32>(2 * MostValues), {}),
              m_IsWanted);
    std::map<QString, HistoryAnswer> gathered;
    for (const QString& item : items) gathered[item] = {.Item = item, .Known = span};
    while (rows.Next()) {
        const RecordedRow row(rows);
        const auto item = gathered.find(row.Item);
        if (item != gathered.end()) AddRow(item->second, row);
    }
    CheckWanted();
    QList<HistoryAnswer> answers;
    for (auto& [name, answer] : gathered) {
        std::stable_sort(answer.Samples.begin(), answer.Samples.end(),
                         [](const Sample& a, const Sample& b) { return a.Time < b.Time; });
        answers.append(std::move(answer));
    }
    return answers;
}

QList<HistoryAnswer> HistoryReads::Beginnings(const QStringList& items, Micros time)
{
    Rows rows(m_History.ReadRaw(TextsOf(items), TimeOf(time - 1), TimeOf(Span::Earliest), false, 1, {}), m_IsWanted);
    QList<HistoryAnswer> answers;
    while (rows.Next()) {
        const RecordedRow row(rows);
        if (!row.IsValue()) continue;
        answers.append({.Item = row.Item, .Known = {row.Time, time}});
        AddRow(answers.back(), row);
    }
    CheckWanted();
    return answers;
}

HistoryReads::Moments HistoryReads::Newest(const QStringList& items)
{
    Rows rows(m_History.ReadRaw(TextsOf(items), Variant(), Variant(), false, 1, {}), m_IsWanted);
    Moments newest;
    while (rows.Next()) {
        const RecordedRow row(rows);
        if (row.IsValue()) newest[row.Item] = row.Time;
    }
    CheckWanted();
    return newest;
}

void HistoryReads::CheckWanted() const
{
    if (!m_IsWanted()) throw AnswerOutdated();
}
