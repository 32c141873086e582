#pragma once

#include "server/history/StatementRunner.h"

#include <array>

/// One place where values are recorded.
struct HistoryDestination
{
    QString ConnectionString; ///< empty: not used
    QString TableName = QStringLiteral("velsql_history");
    qint32 MaxRecord = 100'000; ///< 0: no limit
};

struct HistorySettings
{
    bool Enabled = true;
    std::array<HistoryDestination, 2> Destinations;
};

/// SQLite in the user's state folder as destination 1, none as destination 2.
HistorySettings DefaultHistorySettings();

/// The history: what is recorded where, and SQL on destination 1.
class History
{
public:
    explicit History(HistorySettings settings);

    bool IsEnabled() const { return m_Settings.Enabled; }
    /// `index` is 1 or 2. Throws ServerError. Passwords are hidden.
    QString ConnectionString(qint32 index) const;
    qint32 MaxRecord(qint32 index) const;
    QString TableName(qint32 index) const;

    /// See StatementRunner::Run.
    kj::Promise<ResultSpoolRef> Execute(const QString& statement);

private:
    const HistoryDestination& Destination(qint32 index) const;

    HistorySettings m_Settings;
    StatementRunner m_Runner;
};
