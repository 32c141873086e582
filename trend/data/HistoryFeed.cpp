#include "trend/data/HistoryFeed.h"

#include "core/automation/SafeArray.h"
#include "trend/core/IntervalSamples.h"
#include "trend/data/Coverage.h"
#include "trend/data/Rows.h"

#include <cmath>
#include <map>

namespace {

/// Intervals of the first answer, which is to come at once.
constexpr Micros RoughIntervals = 60;
/// Asked in one call; between two calls a newer question is looked for.
constexpr qsizetype ItemsTogether = 8;
/// So many values of an item are read one by one.
constexpr double MostValues = 5000;

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

struct ValueRow
{
    explicit ValueRow(const Rows& rows)
        : Item(rows.Cell(0).Get<QString>())
        , Time(std::llround(rows.Number(2)))
        , Value(rows.Cell(3))
        , Number(rows.Number(4) == 0 ? rows.Number(3) : std::nan(""))
        , Quality(rows.Cell(5).Get<QString>())
    {
    }

    QString Item;
    Micros Time;
    Variant Value;
    double Number;
    QString Quality;
};

Variant TextsOf(const QStringList& items)
{
    return SafeArray(QList<QString>(items));
}

Variant TimeOf(Micros time)
{
    return Variant(static_cast<double>(time));
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

void AddRow(HistoryAnswer& answer, const ValueRow& row)
{
    if (row.Quality == QStringLiteral("NoBound")) return;
    if (row.Quality == QStringLiteral("MoreData")) { // what follows has not been read
        answer.Known.To = row.Time;
        return;
    }
    if (row.Time < answer.Known.From) answer.Known.From = row.Time;
    if (row.Time >= answer.Known.To) answer.Known.To = row.Time + 1;
    answer.Samples.push_back({row.Time, row.Number});
    AddText(answer, row.Time, row.Value);
}

} // namespace

HistoryFeed::HistoryFeed(MakeLibrary make)
    : m_Make(std::move(make))
{
}

HistoryFeed::~HistoryFeed() = default;

void HistoryFeed::Ask(QList<HistoryQuestion> questions)
{
    {
        const std::lock_guard lock(m_Mutex);
        m_Questions = std::move(questions);
        ++m_Asked;
    }
    QMetaObject::invokeMethod(this, &HistoryFeed::AnswerLatest, Qt::QueuedConnection);
}

void HistoryFeed::AnswerLatest()
{
    if (!IsOutdated()) return; // a later one has been answered already
    QList<HistoryQuestion> questions;
    {
        const std::lock_guard lock(m_Mutex);
        questions = m_Questions;
        m_Answered = m_Asked;
    }
    QString trouble;
    try {
        AnswerAll(questions);
    } catch (const Outdated&) {
        return; // the newer question waits in the event loop
    } catch (...) {
        trouble = CurrentErrorDescription();
    }
    Q_EMIT Finished(trouble);
}

void HistoryFeed::AnswerAll(const QList<HistoryQuestion>& questions)
{
    QList<Counts> counts;
    for (const HistoryQuestion& question : questions) counts.append(AnswerRoughly(question));
    for (qsizetype i = 0; i < questions.size(); ++i) AnswerExactly(questions[i], counts[i]);
    for (const HistoryQuestion& question : questions) AnswerBeginning(question);
}

/// Starts no server: that is done where the present is looked for.
VelSQLHistory& HistoryFeed::History()
{
    if (!m_Library) m_Library = m_Make();
    if (!m_Engine) m_Engine = m_Library->AttachEngine();
    if (!m_History) m_History = m_Engine->get_History();
    return *m_History;
}

HistoryFeed::Counts HistoryFeed::AnswerRoughly(const HistoryQuestion& question)
{
    const Micros interval = std::max(RoundInterval(question.Asked.Length() / RoughIntervals), question.Interval);
    Counts counts;
    ReadIntervals(question.Items, question.Asked, interval, &counts);
    return counts;
}

void HistoryFeed::AnswerExactly(const HistoryQuestion& question, const Counts& counts)
{
    QStringList few, many;
    for (const QString& item : question.Items) (counts.value(item) <= MostValues ? few : many).append(item);
    for (qsizetype i = 0; i < few.size(); i += ItemsTogether)
        ReadValues(few.sliced(i, std::min(ItemsTogether, few.size() - i)), question.Asked);
    for (qsizetype i = 0; i < many.size(); i += ItemsTogether)
        ReadIntervals(many.sliced(i, std::min(ItemsTogether, many.size() - i)), question.Asked, question.Interval,
                      nullptr);
}

/// What holds where the span begins. What follows it until there is known with that.
void HistoryFeed::AnswerBeginning(const HistoryQuestion& question)
{
    CheckWanted();
    Rows rows(History().ReadRaw(TextsOf(question.Items), Variant(), TimeOf(question.Asked.From), false, 1, {}));
    QList<HistoryAnswer> answers;
    while (rows.Next()) {
        const ValueRow row(rows);
        HistoryAnswer answer{.Item = row.Item, .Known = {row.Time, question.Asked.From}};
        if (row.Quality == QStringLiteral("Raw")) AddRow(answer, row), answers.append(answer);
    }
    Q_EMIT Answered(answers);
}

void HistoryFeed::ReadIntervals(const QStringList& items, const Span& span, Micros interval, Counts* counts)
{
    CheckWanted();
    const Span asked = Aligned(span, interval);
    const auto isWanted = [&] { return counts || !IsOutdated(); }; // who moves on and on sees rough answers at least
    Rows rows(History().ReadProcessed(TextsOf(items), TimeOf(asked.From), TimeOf(asked.To), TimeOf(interval),
                                      IntervalRow::Aggregates()),
              isWanted);
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
    if (!counts) CheckWanted();
    QList<HistoryAnswer> answers;
    for (auto& [name, item] : gathered) {
        item.Answer.Item = name;
        item.Answer.Known = asked;
        item.Answer.Interval = interval;
        item.Answer.Samples = SamplesOf(item.Figures, asked.To);
        answers.append(std::move(item.Answer));
    }
    Q_EMIT Answered(answers);
}

void HistoryFeed::ReadValues(const QStringList& items, const Span& span)
{
    CheckWanted();
    Rows rows(History().ReadRaw(TextsOf(items), TimeOf(span.From), TimeOf(span.To), true,
                                static_cast<qint32>(2 * MostValues), {}),
              [this] { return !IsOutdated(); });
    std::map<QString, HistoryAnswer> gathered;
    for (const QString& item : items) gathered[item] = {.Item = item, .Known = span};
    while (rows.Next()) {
        const ValueRow row(rows);
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
    Q_EMIT Answered(answers);
}

void HistoryFeed::CheckWanted() const
{
    if (IsOutdated()) throw Outdated();
}
