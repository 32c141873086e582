#pragma once

#include <QElapsedTimer>
#include <QString>

/// How far a query is, on one line of standard error; nothing unless that is a terminal on which no rows are printed.
class QueryProgress
{
public:
    explicit QueryProgress(bool areRowsOnStandardOutput);
    QueryProgress(const QueryProgress&) = delete;
    QueryProgress& operator=(const QueryProgress&) = delete;
    ~QueryProgress() { Clear(); }

    /// A few times a second at most.
    void ShowRows(qint64 count);
    /// The last word; stays on the terminal.
    void Finish(const QString& text);
    void Clear();

private:
    void Show(const QString& text);

    const bool m_IsShown;
    qsizetype m_Width = 0; ///< of what stands on the line
    QElapsedTimer m_SinceShown;
};
