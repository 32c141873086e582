#pragma once

#include "core/automation/ServerObjects.h"

/// A statement's result as scripts see it: waits for rows that the server has not read yet, and keeps the last page.
class ResultRows : public ServerObject
{
public:
    explicit ResultRows(ResultSetRef result);
    ResultRows(const ResultRows&) = delete;
    ResultRows& operator=(const ResultRows&) = delete;
    ~ResultRows() override { --s_Count; }

    /// The number of results that the server holds for this process.
    static int Count() { return s_Count; }

    QStringList ColumnNames();
    /// An array of texts.
    Variant Columns();
    /// How many rows a statement that returns none has changed; -1: not known.
    qint64 Affected();
    /// Waits until the server has read all rows. The number is an I4, or an R8 beyond 32 bits.
    Variant RowCount();
    /// Whether the row exists, as soon as that is known. Throws ServerError when reading the result has failed before
    /// that row.
    bool HasRow(qint64 row);
    /// An array of variants. Throws ValueError "Subscript out of range".
    Variant Row(qint32 row);
    Variant Cell(qint32 row, qint32 column);
    /// Waits as HasRow does. Valid until the next call. Throws ValueError "Subscript out of range".
    const ResultPage& PageOf(qint64 row);

private:
    /// Asks the server for its progress until it has read `enough` rows, or all of them.
    void WaitForRows(qint64 enough);

    static inline int s_Count = 0;

    ResultSetRef m_Result;
    QStringList m_Columns;
    bool m_ColumnsRead = false;
    ResultProgress m_Progress{0, false, {}};
    ResultPageRef m_Page;
};
