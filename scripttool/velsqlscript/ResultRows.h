#pragma once

#include "core/automation/ServerObjects.h"

/// A statement's result as scripts see it: rows are waited for when the server has not read them yet, and the page read
/// last is kept.
class ResultRows : public ServerObject
{
public:
    explicit ResultRows(ResultSetRef result);
    ResultRows(const ResultRows&) = delete;
    ResultRows& operator=(const ResultRows&) = delete;
    ~ResultRows() override { --s_Count; }

    /// How many the server holds for this process.
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
    /// Asks the server how far it is until `enough` rows are there, or all.
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
