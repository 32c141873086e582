#include "trend/data/HistoryFeed.h"

namespace {

/// Intervals of the first answer, which is to come at once.
constexpr Micros RoughIntervals = 60;
/// Intervals of an answer about what has just been heard.
constexpr Micros FreshIntervals = 1000;
/// Asked in one call; between two calls a newer question is looked for.
constexpr qsizetype ItemsTogether = 8;

Micros Floor(Micros time, Micros interval)
{
    return Aligned({time, time}, interval).From;
}

/// Those with few values, which are read one by one, and the others.
std::pair<QStringList, QStringList> Parted(const QStringList& items, const HistoryReads::Counts& counts)
{
    std::pair<QStringList, QStringList> parts;
    for (const QString& item : items)
        (counts.value(item) <= HistoryReads::MostValues ? parts.first : parts.second).append(item);
    return parts;
}

QList<QStringList> InGroups(const QStringList& items)
{
    QList<QStringList> groups;
    for (qsizetype i = 0; i < items.size(); i += ItemsTogether)
        groups.append(items.sliced(i, std::min(ItemsTogether, items.size() - i)));
    return groups;
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
    } catch (const AnswerOutdated&) {
        return; // the newer question waits in the event loop
    } catch (...) {
        trouble = CurrentErrorDescription();
    }
    Q_EMIT Finished(trouble);
}

void HistoryFeed::AnswerAll(const QList<HistoryQuestion>& questions)
{
    QList<HistoryReads::Counts> counts;
    for (const HistoryQuestion& question : questions)
        counts.append(question.IsFresh ? HistoryReads::Counts() : AnswerRoughly(question));
    for (qsizetype i = 0; i < questions.size(); ++i)
        if (!questions[i].IsFresh) AnswerExactly(questions[i], counts[i]);
    for (const HistoryQuestion& question : questions) {
        if (question.IsFresh) AnswerFresh(question);
        else Q_EMIT Answered(Reads().Beginnings(question.Items, question.Asked.From));
    }
}

/// Starts no server: that is done where the present is looked for.
HistoryReads HistoryFeed::Reads()
{
    if (!m_Library) m_Library = m_Make();
    if (!m_Engine) m_Engine = m_Library->AttachEngine();
    if (!m_History) m_History = m_Engine->get_History();
    return HistoryReads(*m_History, [this] { return !IsOutdated(); });
}

/// Who moves on and on sees rough answers at least.
HistoryReads::Counts HistoryFeed::AnswerRoughly(const HistoryQuestion& question)
{
    Reads();
    if (IsOutdated()) throw AnswerOutdated();
    const Micros interval = std::max(RoundInterval(question.Asked.Length() / RoughIntervals), question.Interval);
    HistoryReads::Counts counts;
    HistoryReads wholeAnswer(*m_History, [] { return true; });
    QList<HistoryAnswer> answers = wholeAnswer.Intervals(question.Items, question.Asked, interval, &counts);
    // Rougher than asked for, even if the intervals are not: the exact answer is still to come.
    for (HistoryAnswer& answer : answers) ++answer.Interval;
    Q_EMIT Answered(answers);
    return counts;
}

void HistoryFeed::AnswerExactly(const HistoryQuestion& question, const HistoryReads::Counts& counts)
{
    const auto [few, many] = Parted(question.Items, counts);
    for (const QStringList& items : InGroups(few)) Q_EMIT Answered(Reads().Values(items, question.Asked));
    for (const QStringList& items : InGroups(many))
        Q_EMIT Answered(Reads().Intervals(items, question.Asked, question.Interval));
}

/// The rough answer is left out: what was heard is better. The newest values are asked for first, so that nothing can
/// have been recorded before them later.
void HistoryFeed::AnswerFresh(const HistoryQuestion& question)
{
    const HistoryReads::Moments newest = Reads().Newest(question.Items);
    QStringList items;
    QList<HistoryAnswer> unknown;
    for (const QString& item : question.Items) {
        if (newest.value(item, Span::Earliest) > question.Asked.From) items += item;
        else unknown.append({.Item = item, .Known = {question.Asked.From, question.Asked.From}});
    }
    TellFresh(unknown, newest);
    if (items.isEmpty()) return;
    HistoryReads::Counts counts;
    Reads().Intervals(items, question.Asked, RoundInterval(question.Asked.Length() / RoughIntervals), &counts);
    const auto [few, many] = Parted(items, counts);
    const Micros interval = std::min(question.Interval, RoundInterval(question.Asked.Length() / FreshIntervals));
    for (const QStringList& some : InGroups(few)) TellFresh(Reads().Values(some, question.Asked), newest);
    for (const QStringList& some : InGroups(many)) TellFresh(Reads().Intervals(some, question.Asked, interval), newest);
}

/// An interval that has just begun is not known.
void HistoryFeed::TellFresh(QList<HistoryAnswer> answers, const HistoryReads::Moments& newest)
{
    for (HistoryAnswer& answer : answers) {
        answer.IsFresh = true;
        const Micros last = newest.value(answer.Item, answer.Known.From);
        answer.Known.To = std::min(answer.Known.To, answer.Interval > 0 ? Floor(last, answer.Interval) : last);
    }
    if (!answers.isEmpty()) Q_EMIT Answered(answers);
}
