#pragma once

#include "core/automation/ResultSet.h"

#include <kj/array.h>
#include <QTemporaryFile>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

/// The rows of one result, encoded page by page into a temporary file without a name: neither side needs memory for
/// them, and no cursor stays open. Written by one thread, read by another.
class ResultSpool
{
public:
    using Clock = std::chrono::steady_clock;

    /// A page is closed when it holds about this many bytes, or when its rows have waited long enough; it holds at
    /// least one row.
    static constexpr qsizetype PageBytes = 256 * 1024;

    /// The file takes at most `mostBytes` (0: 4 GB, or a tenth of the free disk space if that is less). `dropped` is
    /// called when the spool is destroyed. Throws DescribedError when there is no place for temporary files.
    explicit ResultSpool(
        QStringList columns, qint64 mostBytes = 0, std::function<void()> dropped = [] {});
    ~ResultSpool();

    const QStringList& Columns() const { return m_Columns; }
    ResultProgress Progress() const;
    /// The encoded page that holds `row`. Throws DescribedError when the row does not exist, or with the reason why it
    /// could not be read.
    kj::Array<kj::byte> PageOf(qint64 row) const;

    /// Called when the reader of the result has asked for something.
    void NoteAsked() { m_Asked = Clock::now(); }
    Clock::duration SinceAsked() const { return Clock::now() - m_Asked.load(); }

    /// Adds a row and returns whether that closed a page. Throws DescribedError when the disk is full, the bound is
    /// reached or the row is too large.
    bool Append(QList<Variant> row);
    /// No more rows come; `failure` is the reason when reading ended early.
    void Finish(const QString& failure = {});
    /// The end of a statement without rows; `affected` as in ResultProgress.
    void FinishWithoutRows(qint64 affected);

private:
    struct Page
    {
        qint64 FirstRow;
        qint64 Rows;
        qint64 Offset;
        qint64 Size;
    };

    bool IsPageDue(qint64 bytes) const;
    void Flush();
    void Write(kj::ArrayPtr<const kj::byte> bytes) const;
    kj::Array<kj::byte> Encode() const;
    Page Find(qint64 row) const;

    const QStringList m_Columns;
    const std::function<void()> m_Dropped;
    QTemporaryFile m_File;
    const qint64 m_MostBytes;
    std::atomic<Clock::time_point> m_Asked = Clock::now();
    // From here to m_WaitingSince: used by the writing thread only.
    qint64 m_FileSize = 0;
    QList<Variant> m_Waiting;
    qint64 m_WaitingRows = 0;
    qint64 m_WaitingBytes = 0;
    Clock::time_point m_WaitingSince;

    // Guards everything below.
    mutable std::mutex m_Guard;
    std::vector<Page> m_Pages;
    qint64 m_Rows = 0;
    bool m_Complete = false;
    QString m_Failure;
    qint64 m_Affected = -1;
};
