#pragma once

#include "core/automation/Errors.h"
#include "core/automation/ResultSet.h"

#include <functional>

/// A result made by rule: cell texts are computed, pages have a size of choice, and every call can fail.
class ScriptedResult : public ResultSet
{
public:
    struct Script
    {
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
        int LiveResults = 0;
        int LivePages = 0;
    };

    /// `script` outlives it and may be changed at any time.
    explicit ScriptedResult(Script& script);
    ~ScriptedResult() override;

    QStringList Columns() override;
    ResultProgress Progress() override;
    ResultPageRef PageOf(qint64 row) override;

private:
    static Variant IdAndName(qint64 row, int column);

    Script& m_Script;
};
