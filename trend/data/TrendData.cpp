#include "trend/data/TrendData.h"

#include "trend/data/Followed.h"

#include <QDateTime>

#include <algorithm>

namespace {

constexpr int AskSoonMs = 15;
constexpr int AskAgainMs = 5000;
constexpr int ThinMs = 10'000;
constexpr int SeamMs = 3000;
/// What was missed is asked for at most so often, and for at most such a part of the time.
constexpr qint64 MissedPauseMs = 250;
constexpr qint64 MissedShare = 10;
/// Clocks that differ less are taken for one.
constexpr Micros SameClock = 2 * MicrosASecond;

Micros LocalNow()
{
    return QDateTime::currentMSecsSinceEpoch() * 1000;
}

/// With those about the same span.
void AddQuestion(QList<HistoryQuestion>& questions, const HistoryQuestion& question)
{
    for (HistoryQuestion& same : questions)
        if (same.Asked == question.Asked) return same.Items.append(question.Items);
    questions.append(question);
}

} // namespace

TrendData::TrendData(const MakeLibrary& make, QObject* parent)
    : QObject(parent)
    , m_Live(make)
    , m_History(make)
{
    ConnectFeeds();
    m_AskSoon.setSingleShot(true);
    connect(&m_AskSoon, &QTimer::timeout, this, &TrendData::AskForMissing);
    connect(&m_Thin, &QTimer::timeout, this, &TrendData::Thin);
    m_Thin.start(ThinMs);
    m_Live.Run([](LiveFeed& feed) { feed.Open(); });
}

TrendData::~TrendData() = default;

void TrendData::ConnectFeeds()
{
    qRegisterMetaType<QList<LiveNews>>();
    qRegisterMetaType<QList<HistoryAnswer>>();
    connect(&*m_Live, &LiveFeed::Heard, this, &TrendData::TakeNews);
    connect(&*m_Live, &LiveFeed::AbsenceChanged, this, &TrendData::TakeAbsence);
    connect(&*m_History, &HistoryFeed::Answered, this, &TrendData::TakeAnswers);
    connect(&*m_History, &HistoryFeed::Finished, this, &TrendData::TakeEnd);
}

bool TrendData::Add(const PenSettings& settings)
{
    const QString name = settings.Name();
    if (m_Followed.contains(name)) return false;
    auto pen = std::make_shared<Pen>();
    pen->Settings = settings;
    m_Pens.push_back(pen);
    m_Followed.insert(name, std::make_shared<Followed>(pen));
    WatchAll();
    return true;
}

void TrendData::Remove(std::size_t pen)
{
    m_Followed.remove(m_Pens.at(pen)->Settings.Name());
    m_Pens.erase(m_Pens.begin() + static_cast<std::ptrdiff_t>(pen));
    WatchAll();
}

void TrendData::Move(std::size_t from, std::size_t to)
{
    const auto pen = m_Pens.at(from);
    m_Pens.erase(m_Pens.begin() + static_cast<std::ptrdiff_t>(from));
    m_Pens.insert(m_Pens.begin() + static_cast<std::ptrdiff_t>(std::min(to, m_Pens.size())), pen);
    Q_EMIT PensChanged();
}

void TrendData::WatchAll()
{
    QStringList names = m_Followed.keys();
    m_Live.Run([names](LiveFeed& feed) { feed.Watch(names); });
    Q_EMIT PensChanged();
    m_AskSoon.start(AskSoonMs);
}

Micros TrendData::Now() const
{
    return LocalNow() + m_ClockOffset;
}

void TrendData::Show(const Span& shown, int width)
{
    m_Shown = shown;
    m_Width = std::max(width, 1);
    HoldPresent();
    if (!m_AskSoon.isActive()) m_AskSoon.start(AskSoonMs);
}

void TrendData::TakeNews(const QList<LiveNews>& news)
{
    Micros newest = 0;
    bool hasBegun = false;
    const Micros now = Now();
    for (const LiveNews& one : news) {
        const auto followed = m_Followed.value(one.Item);
        if (!followed) continue;
        followed->Take(one, now);
        hasBegun = hasBegun || one.IsFirst;
        if (!one.IsFirst) newest = std::max(newest, one.Time);
    }
    if (newest > 0) NoteClock(newest);
    if (hasBegun) {
        QTimer::singleShot(SeamMs, this, [this] {
            for (const auto& followed : std::as_const(m_Followed)) followed->DoubtSeam();
            m_Asked.clear(); // the same question has another answer now
            AskForMissing();
        });
        m_AskSoon.start(AskSoonMs);
    }
    Q_EMIT Changed();
}

/// The newest of what has just changed was read a moment ago.
void TrendData::NoteClock(Micros newest)
{
    const Micros ahead = newest - LocalNow();
    m_ClockOffset = std::abs(ahead) > SameClock ? ahead : 0;
}

void TrendData::TakeAnswers(const QList<HistoryAnswer>& answers)
{
    for (const HistoryAnswer& answer : answers) {
        if (const auto followed = m_Followed.value(answer.Item)) followed->Take(answer, Now());
    }
    Q_EMIT Changed();
}

void TrendData::TakeAbsence(const QString& absence)
{
    m_Absence = absence;
    const Micros now = Now();
    for (const auto& pen : m_Pens) pen->IsOld = !absence.isEmpty();
    for (const auto& followed : std::as_const(m_Followed)) {
        if (!absence.isEmpty()) followed->Break(now);
    }
    m_Asked.clear();
    m_AskSoon.start(AskSoonMs);
    Q_EMIT Changed();
}

void TrendData::TakeEnd(const QString& trouble)
{
    m_HistoryTrouble = trouble.isEmpty() ? QString() : QStringLiteral("No history: ") + trouble;
    m_IsWaiting = false;
    m_MissedPauseMs = trouble.isEmpty() ? std::max(MissedPauseMs, MissedShare * m_SinceMissed.elapsed()) : AskAgainMs;
    Q_EMIT Changed();
}

/// Also of items that change faster than they can be heard, and are not recorded.
QString TrendData::HistoryTrouble() const
{
    if (!m_HistoryTrouble.isEmpty()) return m_HistoryTrouble;
    QStringList lacking;
    for (const auto& pen : m_Pens) {
        const auto followed = m_Followed[pen->Settings.Name()];
        const bool isSeen = pen->Settings.IsVisible && followed->Missed(m_Shown).Length() > 0;
        if (isSeen && followed->LacksMissed()) lacking += pen->Settings.Name();
    }
    if (lacking.isEmpty()) return {};
    const qsizetype more = lacking.size() - 1;
    const QString others = more > 0 ? QStringLiteral(" and %1 more").arg(more) : QString();
    return QStringLiteral("Not recorded, and too fast to be heard whole: %1").arg(lacking.first() + others);
}

Span TrendData::Heard(const Pen& pen) const
{
    const auto followed = m_Followed.value(pen.Settings.Name());
    followed->Hold(Now());
    return followed->Heard();
}

bool TrendData::HasHeardAll() const
{
    return std::all_of(m_Followed.begin(), m_Followed.end(), [](const auto& followed) { return followed->IsHeard(); });
}

bool TrendData::IsComplete()
{
    const auto isSettled = [this](const auto& followed) { return followed->IsSettled(m_Shown); };
    if (m_IsWaiting || !std::all_of(m_Followed.begin(), m_Followed.end(), isSettled)) return false;
    const QList<HistoryQuestion> missing = Missing();
    return missing.isEmpty() || missing == m_Asked;
}

void TrendData::HoldPresent()
{
    const Micros now = Now();
    for (const auto& followed : std::as_const(m_Followed)) followed->Hold(now);
}

/// What could not be answered, or not at once, is asked for again after a while. What was missed of the present is asked
/// for so often that nobody sees that it was, but does not end a question that is being answered.
void TrendData::AskForMissing()
{
    const QList<HistoryQuestion> missing = Missing();
    const bool isSame = missing == m_Asked;
    if (isSame && m_IsWaiting) return;
    const bool isDue = !isSame || m_SinceAsked.elapsed() >= AskAgainMs;
    const bool isMissedDue = !m_SinceMissed.isValid() || m_SinceMissed.elapsed() >= m_MissedPauseMs;
    const QList<HistoryQuestion> missed = isMissedDue ? Missed() : QList<HistoryQuestion>();
    const QList<HistoryQuestion> questions = (isDue ? missing : QList<HistoryQuestion>()) + missed;
    if (questions.isEmpty() && (isSame || !m_IsWaiting)) return;
    if (isDue) m_SinceAsked.start();
    m_SinceMissed.start();
    m_Asked = missing;
    m_IsWaiting = true;
    m_History->Ask(questions);
}

Micros TrendData::Interval() const
{
    return RoundInterval(std::max<Micros>(m_Shown.Length() / m_Width, 1));
}

/// Pens that lack the same are asked for together.
QList<HistoryQuestion> TrendData::Missing() const
{
    QList<HistoryQuestion> questions;
    for (const auto& pen : m_Pens) {
        if (!pen->Settings.IsVisible) continue;
        const QString name = pen->Settings.Name();
        for (const Span& span : m_Followed[name]->Missing(m_Shown, Interval(), Now()))
            AddQuestion(questions, {{name}, Aligned(span, Interval()), Interval()});
    }
    return questions;
}

QList<HistoryQuestion> TrendData::Missed() const
{
    QList<HistoryQuestion> questions;
    for (const auto& pen : m_Pens) {
        const QString name = pen->Settings.Name();
        const Span span = m_Followed[name]->Missed(m_Shown);
        if (!pen->Settings.IsVisible || span.Length() <= 0) continue;
        // Round, so that pens that change together are asked for together.
        const Span asked = Aligned(span, MissedPauseMs * 1000);
        AddQuestion(questions, {{name}, asked, Interval(), true});
    }
    return questions;
}

void TrendData::Thin()
{
    if (m_Pens.empty()) return;
    for (const auto& followed : std::as_const(m_Followed))
        followed->Thin(m_Shown, Interval(), MostValues / m_Pens.size());
}
