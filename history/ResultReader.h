#pragma once

#include "core/automation/ResultSet.h"

/// Reads a result: keeps the pages used last and requests the others again.
class ResultReader
{
public:
    /// Size limit of all cached pages, not counting the one used last.
    static constexpr qsizetype MostBytes = 8 * 1024 * 1024;
    /// The most that a grid can show: its height is a 32-bit number.
    static constexpr qint64 MostRows = 40'000'000;

    /// A null result reads as one without columns. Otherwise asks for columns, progress and the first page, and throws
    /// what these calls throw.
    explicit ResultReader(ResultSetRef result = nullptr);

    const QStringList& Columns() const { return m_Columns; }
    const ResultProgress& Progress() const { return m_Progress; }
    /// The rows so far, at most MostRows.
    int RowCount() const { return static_cast<int>(std::min(m_Progress.RowsSoFar, MostRows)); }
    /// Asks the server how far it is. Throws ServerError.
    void Advance();

    /// Throws ServerError when the page that holds `row` is not available. Valid until the next call.
    const ResultPage& PageOf(qint64 row);
    /// Throws ServerError, or ValueError when the cell does not hold a valid value.
    Variant Cell(qint64 row, int column);
    qsizetype KeptBytes() const;

private:
    void Keep(const ResultPageRef& page);

    ResultSetRef m_Result;
    QStringList m_Columns;
    ResultProgress m_Progress;
    /// The page used last comes first.
    QList<ResultPageRef> m_Pages;
};
