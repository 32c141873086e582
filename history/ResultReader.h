#pragma once

#include "core/automation/ResultSet.h"

/// A result as it is read: keeps the pages used last and asks the server for the others again.
class ResultReader
{
public:
    /// All pages kept, the one used last apart, are no larger than this.
    static constexpr qsizetype MostBytes = 8 * 1024 * 1024;
    /// What a grid can take: its height is counted in 32 bits.
    static constexpr qint64 MostRows = 40'000'000;

    /// No result reads like one without columns. Asks for columns, progress and the first page, and throws what that
    /// throws.
    explicit ResultReader(ResultSetRef result = nullptr);

    const QStringList& Columns() const { return m_Columns; }
    const ResultProgress& Progress() const { return m_Progress; }
    /// The rows so far, MostRows at most.
    int RowCount() const { return static_cast<int>(std::min(m_Progress.RowsSoFar, MostRows)); }
    /// Asks the server how far it is. Throws ServerError.
    void Advance();

    /// Throws ServerError when the page that holds `row` cannot be had. Valid until the next call.
    const ResultPage& PageOf(qint64 row);
    /// Throws ServerError, or ValueError for what is not a value.
    Variant Cell(qint64 row, int column);
    qsizetype KeptBytes() const;

private:
    void Keep(const ResultPageRef& page);

    ResultSetRef m_Result;
    QStringList m_Columns;
    ResultProgress m_Progress;
    /// The one used last comes first.
    QList<ResultPageRef> m_Pages;
};
