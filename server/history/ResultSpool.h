#pragma once

#include "core/automation/ResultSet.h"

#include <kj/array.h>
#include <QTemporaryFile>

#include <functional>
#include <mutex>
#include <vector>

/// The rows of one result, encoded page by page into a temporary file that has no name: neither side needs memory for them, and
/// no cursor stays open. Written by one thread, read by another.
class ResultSpool
{
public:
    /// A page is closed when it holds about this many bytes; it holds one row at least.
    static constexpr qsizetype PageBytes = 256 * 1024;

    /// `dropped` is called with the end of the spool. Throws DescribedError when there is no place for temporary files.
    explicit ResultSpool(
        QStringList columns, std::function<void()> dropped = [] {});
    ~ResultSpool();

    const QStringList& Columns() const { return m_Columns; }
    ResultProgress Progress() const;
    /// The encoded page that holds `row`. Throws DescribedError when the row is not there, or why it could not be read.
    kj::Array<kj::byte> PageOf(qint64 row) const;

    /// Adds a row. Throws DescribedError when the disk is full or the row too large.
    void Append(QList<Variant> row);
    /// No more rows come; `failure` says why when reading ended early.
    void Finish(const QString& failure = {});

private:
    struct Page
    {
        qint64 FirstRow;
        qint64 Rows;
        qint64 Offset;
        qint64 Size;
    };

    void Flush();
    void Write(kj::ArrayPtr<const kj::byte> bytes) const;
    kj::Array<kj::byte> Encode() const;
    Page Find(qint64 row) const;

    const QStringList m_Columns;
    const std::function<void()> m_Dropped;
    QTemporaryFile m_File;
    qint64 m_FileSize = 0; // of the writing thread only, as is what waits to become a page:
    QList<Variant> m_Waiting;
    qint64 m_WaitingRows = 0;
    qint64 m_WaitingBytes = 0;

    mutable std::mutex m_Guard; // of everything below
    std::vector<Page> m_Pages;
    qint64 m_Rows = 0;
    bool m_Complete = false;
    QString m_Failure;
};
