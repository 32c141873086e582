#include "tests/history/ScriptedResult.h"

namespace {

class ScriptedPage : public ResultPage
{
public:
    ScriptedPage(ScriptedResult::Script& script, qint64 firstRow)
        : m_Script(script)
        , m_FirstRow(firstRow)
        , m_RowCount(static_cast<qint32>(std::min<qint64>(script.RowsPerPage, script.Progress.RowsSoFar - firstRow)))
    {
        ++m_Script.LivePages;
    }
    ~ScriptedPage() override { --m_Script.LivePages; }

    qint64 FirstRow() const override { return m_FirstRow; }
    qint32 RowCount() const override { return m_RowCount; }
    Variant Cell(qint32 row, qint32 column) const override { return m_Script.Cell(m_FirstRow + row, column); }
    qsizetype Bytes() const override { return m_Script.BytesPerPage; }

private:
    ScriptedResult::Script& m_Script;
    const qint64 m_FirstRow;
    const qint32 m_RowCount;
};

void ThrowIf(const QString& failure)
{
    if (!failure.isNull()) throw ServerError(failure);
}

} // namespace

ScriptedResult::ScriptedResult(Script& script)
    : m_Script(script)
{
    ++m_Script.LiveResults;
}

ScriptedResult::~ScriptedResult()
{
    --m_Script.LiveResults;
}

QStringList ScriptedResult::Columns()
{
    m_Script.WhileExecuting();
    ThrowIf(m_Script.ColumnsFailure);
    return m_Script.Columns;
}

ResultProgress ScriptedResult::Progress()
{
    ++m_Script.ProgressAsked;
    ThrowIf(m_Script.ProgressFailure);
    return m_Script.Progress;
}

ResultPageRef ScriptedResult::PageOf(qint64 row)
{
    m_Script.PagesAsked << row;
    ThrowIf(m_Script.PageFailure);
    return std::make_shared<ScriptedPage>(m_Script, row - row % m_Script.RowsPerPage);
}

Variant ScriptedResult::IdAndName(qint64 row, int column)
{
    return column == 0 ? Variant(static_cast<qint32>(row)) : Variant(QStringLiteral("name %1").arg(row));
}
