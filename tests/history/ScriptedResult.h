#pragma once

#include "core/automation/Errors.h"
#include "core/automation/ResultSet.h"

#include <functional>

/// What a result holds and how it behaves; it may be changed at any time and outlives the results made of it.
struct ResultScript
{
    QStringList Columns = {QStringLiteral("id"), QStringLiteral("name")};
    ResultProgress Progress = {1000, true, {}};
    qint32 RowsPerPage = 100;
    qsizetype BytesPerPage = 256 * 1024;
    std::function<Variant(qint64 row, int column)> Cell = [](qint64 row, int column) {
        return column == 0 ? Variant(static_cast<qint32>(row)) : Variant(QStringLiteral("name %1").arg(row));
    };
    /// Before every call, by its name; may throw.
    std::function<void(QStringView call)> BeforeCall = [](QStringView) {};
    QList<qint64> PagesAsked = {}; ///< the rows that pages were asked for
    /// As many references to it as results and their pages live.
    std::shared_ptr<int> Life = std::make_shared<int>();

    void Fail(QStringView failing, const QString& description)
    {
        BeforeCall = [=](QStringView call) {
            if (failing.contains(call)) throw ServerError(description);
        };
    }
};

struct ScriptedPage : ResultPage
{
    ScriptedPage(const ResultScript& script, qint64 row)
        : Script(script)
        , First(row - row % script.RowsPerPage)
    {
    }
    qint64 FirstRow() const override { return First; }
    qint32 RowCount() const override { return Script.RowsPerPage; }
    Variant Cell(qint32 row, qint32 column) const override { return Script.Cell(First + row, column); }
    qsizetype Bytes() const override { return Script.BytesPerPage; }

    const ResultScript& Script;
    const qint64 First;
    const std::shared_ptr<int> Life = Script.Life;
};

/// A result made by rule: cells are computed, and every call is counted and can fail.
struct ScriptedResult : ResultSet
{
    explicit ScriptedResult(ResultScript& script)
        : Script(script)
    {
    }
    QStringList Columns() override { return Script.BeforeCall(u"Columns"), Script.Columns; }
    ResultProgress Progress() override { return Script.BeforeCall(u"Progress"), Script.Progress; }
    ResultPageRef PageOf(qint64 row) override
    {
        Script.PagesAsked << row;
        Script.BeforeCall(u"PageOf");
        return std::make_shared<ScriptedPage>(Script, row);
    }

    ResultScript& Script;
    const std::shared_ptr<int> Life = Script.Life;
};
