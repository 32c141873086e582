#pragma once

#include "trend/data/HistoryReads.h"
#include "trend/data/LiveFeed.h"

#include <atomic>
#include <mutex>

/// What is to be learnt of the past of some items.
struct HistoryQuestion
{
    bool operator==(const HistoryQuestion&) const = default;

    QStringList Items;
    Span Asked;          ///< aligned to Interval
    Micros Interval = 1; ///< of the picture's columns
    /// Some of it has only just happened: what is not recorded yet is left out of what is known.
    bool IsFresh = false;
};

/// Asks the history; works on a thread of its own, because calls wait. First tells in few intervals what there is, then
/// as exactly as it was asked for: every value if there are few of them. A newer question ends an older one.
class HistoryFeed : public QObject
{
    Q_OBJECT

public:
    explicit HistoryFeed(MakeLibrary make);
    ~HistoryFeed() override;

    /// From any thread: these questions instead of all earlier ones.
    void Ask(QList<HistoryQuestion> questions);

Q_SIGNALS:
    void Answered(const QList<HistoryAnswer>& answers);
    /// All questions have been answered; `trouble` says why some could not.
    void Finished(const QString& trouble);

private:
    void AnswerLatest();
    void AnswerAll(const QList<HistoryQuestion>& questions);
    HistoryReads Reads();
    HistoryReads::Counts AnswerRoughly(const HistoryQuestion& question);
    void AnswerExactly(const HistoryQuestion& question, const HistoryReads::Counts& counts);
    void AnswerFresh(const HistoryQuestion& question);
    void TellFresh(QList<HistoryAnswer> answers, const HistoryReads::Moments& newest);
    bool IsOutdated() const { return m_Answered != m_Asked; }

    MakeLibrary m_Make;
    std::unique_ptr<RemoteLibrary> m_Library;
    EngineRef m_Engine;
    HistoryRef m_History;
    std::mutex m_Mutex; ///< guards m_Questions
    QList<HistoryQuestion> m_Questions;
    std::atomic<quint64> m_Asked = 0;
    quint64 m_Answered = 0;
};
