#pragma once

#include "core/automation/Errors.h"
#include "core/automation/ResultSet.h"

#include <functional>

/// What a result holds and how it behaves; it may be changed at any time and outlives the results made of it.
struct ResultScript
{
    static Variant IdAndName(qint64 row, int column)
    {
        return column == 0 ? Variant(static_cast<qint32>(row)) : Variant(QStringLiteral("name %1").arg(row));
    }

    QStringList Columns = {QStringLiteral("id"), QStringLiteral("name")};
    ResultProgress Progress = {1000, true, {}};
    qint32 RowsPerPage = 100;
    qsizetype BytesPerPage = 256 * 1024;
    std::function<Variant(qint64 row, int column)> Cell = IdAndName;
    /// What happens when the columns are asked for.
    std::function<void()> WhileExecuting = [] {};
    /// What the next calls of an operation fail with; null: they work.
    QString ColumnsFailure = {}, ProgressFailure = {}, PageFailure = {};
    QList<qint64> PagesAsked = {}; ///< the rows that pages were asked for
    int ProgressAsked = 0;
    /// As many references to it as results or pages live.
    std::shared_ptr<int> LiveResults = std::make_shared<int>(), LivePages = std::make_shared<int>();
};

class ScriptedPage : public ResultPage
{
public:
    ScriptedPage(const ResultScript& script, qint64 firstRow)
        : m_Script(script)
        , m_FirstRow(firstRow)
    {
    }

    qint64 FirstRow() const override { return m_FirstRow; }
    qint32 RowCount() const override { return m_Script.RowsPerPage; }
    Variant Cell(qint32 row, qint32 column) const override { return m_Script.Cell(m_FirstRow + row, column); }
    qsizetype Bytes() const override { return m_Script.BytesPerPage; }

private:
    const ResultScript& m_Script;
    const qint64 m_FirstRow;
    const std::shared_ptr<int> m_Life = m_Script.LivePages;
};

/// A result made by rule: cell texts are computed, and every call is counted and can fail.
class ScriptedResult : public ResultSet
{
public:
    explicit ScriptedResult(ResultScript& script)
        : m_Script(script)
    {
    }

    QStringList Columns() override
    {
        m_Script.WhileExecuting();
        ThrowIf(m_Script.ColumnsFailure);
        return m_Script.Columns;
    }
    ResultProgress Progress() override
    {
        ++m_Script.ProgressAsked;
        ThrowIf(m_Script.ProgressFailure);
        return m_Script.Progress;
    }
    ResultPageRef PageOf(qint64 row) override
    {
        m_Script.PagesAsked << row;
        ThrowIf(m_Script.PageFailure);
        return std::make_shared<ScriptedPage>(m_Script, row - row % m_Script.RowsPerPage);
    }

private:
    static void ThrowIf(const QString& failure)
    {
        if (!failure.isNull()) throw ServerError(failure);
    }

    ResultScript& m_Script;
    const std::shared_ptr<int> m_Life = m_Script.LiveResults;
};
