#pragma once

#include "server/history/History.h"
#include "tests/server/TestClient.h"

/// A history asked as the server asks it; answers are read as the client reads them.
class AskedHistory
{
public:
    explicit AskedHistory(const HistorySettings& settings);

    /// A value of controller PLC1, 1.5 ms after the one before.
    void Record(const QString& item, const Variant& value);
    bool Flush(int milliseconds) { return m_History.Flush(milliseconds); }

    kj::Promise<ResultSpoolRef> Start(const QString& statement);
    /// Once all its rows have been read.
    ResultSpoolRef Run(const QString& statement);
    /// Column names and rows, each with commas between, or the database's description.
    QStringList Ask(const QString& statement);
    static QString Row(const ResultSpool& result, qint64 row);

private:
    History m_History;
    TimeStamp m_Time = std::chrono::sys_days(std::chrono::year(2024) / 1 / 31);
};
