#pragma once

#include "trend/export/ValueTable.h"

#include <atomic>

/// How an export has ended.
struct ExportResult
{
    WrittenTable Written = {};
    QString Failure = {}; ///< why there is no file; empty: there is one, or it was cancelled
    bool IsCancelled = false;
};

/// Writes tables of every value; works on a thread of its own, because calls and the disk wait.
class ExportFeed : public QObject
{
    Q_OBJECT

public:
    explicit ExportFeed(MakeLibrary make);

    /// Waits until what happened just now has been recorded, then writes.
    void Write(const ExportOrder& order);
    /// From any thread: the file is then as it was before.
    void Cancel() { m_IsCancelled = true; }

Q_SIGNALS:
    /// A few times a second: all rows until `until` have been written.
    void Progressed(Micros until, qint64 rows);
    void Finished(const ExportResult& result);

private:
    WrittenTable WriteFrom(VelSQLEngine& engine, const ExportOrder& order);
    void AwaitRecording(const ExportOrder& order) const;

    MakeLibrary m_Make;
    std::atomic<bool> m_IsCancelled = false;
};
