#pragma once

#include "core/automation/Variant.h"

#include <QStringList>

/// A run of consecutive rows of a result set, as the server sent it; cells are decoded on demand.
class ResultPage
{
public:
    ResultPage() = default;
    ResultPage(const ResultPage&) = delete;
    ResultPage& operator=(const ResultPage&) = delete;
    virtual ~ResultPage();

    /// Row number of the page's first row within the whole result.
    virtual qint64 FirstRow() const = 0;
    /// At least 1.
    virtual qint32 RowCount() const = 0;
    bool Holds(qint64 row) const { return row >= FirstRow() && row - FirstRow() < RowCount(); }
    /// `row` counts within the page. Throws ValueError "Subscript out of range".
    virtual Variant Cell(qint32 row, qint32 column) const = 0;
    /// What the page occupies in memory.
    virtual qsizetype Bytes() const = 0;
};

using ResultPageRef = std::shared_ptr<const ResultPage>;

/// How far the server has read a result.
struct ResultProgress
{
    qint64 RowsSoFar = 0;
    /// No more rows come: all were read, or reading failed.
    bool Complete = true;
    /// Why reading failed; empty when it did not.
    QString Failure = {};
    /// How many rows a statement that returns none has changed; -1: not known.
    qint64 Affected = -1;
};

/// The rows that a statement returned. The server reads on by itself and keeps them until the last reference is
/// dropped; every operation throws ServerError when it fails.
class ResultSet
{
public:
    ResultSet() = default;
    ResultSet(const ResultSet&) = delete;
    ResultSet& operator=(const ResultSet&) = delete;
    virtual ~ResultSet();

    /// Column names in order, as the database gives them: they may repeat or be empty. A statement that returns no rows
    /// has no columns.
    virtual QStringList Columns() = 0;
    virtual ResultProgress Progress() = 0;
    /// The page that holds `row`. Throws when that row does not exist or has not been read yet.
    virtual ResultPageRef PageOf(qint64 row) = 0;
};

using ResultSetRef = std::shared_ptr<ResultSet>;
