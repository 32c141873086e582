#pragma once

#include "server/history/Recorder.h"
#include "server/history/StatementRunner.h"

#include <array>

struct HistorySettings
{
    bool Enabled = true;
    std::array<HistoryDestination, 2> Destinations;
    SpoolSettings Spool; ///< for each destination
    StatementLimits Limits;
};

/// SQLite in the user's state folder as destination 1, and no destination 2.
HistorySettings DefaultHistorySettings();

/// The history: where values are recorded, and SQL on destination 1.
class History
{
public:
    /// Throws DescribedError for wrong settings; a database that cannot be reached is not an error.
    History(HistorySettings settings, kj::Timer& timer);
    ~History();

    /// Never waits for a database.
    void Record(const RecordedValue& value);
    /// See Recorder::Flush.
    bool Flush(int milliseconds);

    bool IsEnabled() const { return m_Settings.Enabled; }
    /// `index` is 1 or 2. Throws ServerError. Passwords are hidden.
    QString ConnectionString(qint32 index) const;
    qint32 MaxRecord(qint32 index) const;
    QString TableName(qint32 index) const;

    /// See StatementRunner::Run.
    kj::Promise<ResultSpoolRef> Ask(Inquiry asked, const HistoryUserRef& user);
    /// See StatementRunner::Describe.
    QStringList Statements() const { return m_Runner.Describe(); }
    /// See StatementRunner::Break.
    void BreakStatement(qint32 number) { m_Runner.Break(number); }

private:
    const HistoryDestination& Destination(qint32 index) const;
    void SayWhatWaitsForOthers() const;

    HistorySettings m_Settings;
    std::list<Recorder> m_Recorders;
    StatementRunner m_Runner;
};
