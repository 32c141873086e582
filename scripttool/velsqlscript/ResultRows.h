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

    /// An array of texts.
    Variant Columns();
    /// Waits until the server has read them all. An I4, beyond 32 bits an R8.
    Variant RowCount();
    /// Whether there is such a row, once that is known. Throws ServerError when reading the result failed before it.
    bool HasRow(qint64 row);
    /// An array of variants. Throws ValueError "Subscript out of range".
    Variant Row(qint32 row);
    Variant Cell(qint32 row, qint32 column);

private:
    /// Asks the server for its progress until it has read `enough` rows, or all.
    void WaitForRows(qint64 enough);
    const ResultPage& PageOf(qint32 row);
    qint32 ColumnCount();

    static inline int s_Count = 0;

    ResultSetRef m_Result;
    QStringList m_Columns;
    bool m_ColumnsRead = false;
    ResultProgress m_Progress{0, false, {}};
    ResultPageRef m_Page;
};
