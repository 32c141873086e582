#include "scripttool/velsqlscript/Query.h"

#include "resulttext/RowCount.h"
#include "resulttext/RowWriter.h"
#include "scripttool/velsqlscript/Output.h"
#include "scripttool/velsqlscript/QueryOutput.h"
#include "scripttool/velsqlscript/QueryProgress.h"
#include "scripttool/velsqlscript/ResultRows.h"
#include "velsqllib/ValueText.h"

namespace {

/// Written in pieces of about this size, in characters.
constexpr qsizetype Piece = 65'536;

RowWriterRef MakeWriter(QueryOptions::Format format)
{
    switch (format) {
    case QueryOptions::Format::Csv: return MakeCsvWriter(WriteValueText);
    case QueryOptions::Format::Json: return MakeJsonWriter(WriteValueText);
    default: return MakeTabWriter(WriteValueText);
    }
}

/// Writes a result row by row, holding one page and one piece of text.
class RowsToOutput
{
public:
    RowsToOutput(ResultRows& rows, RowWriter& writer, QueryOutput& output, QueryProgress& progress)
        : m_Rows(rows)
        , m_Writer(writer)
        , m_Output(output)
        , m_Progress(progress)
    {
    }

    /// The number of rows.
    qint64 Write(const QStringList& columns)
    {
        m_Writer.WriteHead(m_Text, columns);
        m_Cells.resize(columns.size());
        qint64 row = 0;
        while (m_Rows.HasRow(row)) row = WritePage(row);
        m_Writer.WriteTail(m_Text);
        Flush();
        return row;
    }

private:
    qint64 WritePage(qint64 row)
    {
        const ResultPage& page = m_Rows.PageOf(row);
        const qint64 end = page.FirstRow() + page.RowCount();
        for (; row < end; ++row) {
            for (qsizetype column = 0; column < m_Cells.size(); ++column)
                m_Cells[column] = page.Cell(static_cast<qint32>(row - page.FirstRow()), static_cast<qint32>(column));
            m_Writer.WriteRow(m_Text, m_Cells);
            if (m_Text.size() >= Piece) Flush();
        }
        Flush(); // the next page may take its time
        m_Progress.ShowRows(end);
        return end;
    }

    void Flush()
    {
        m_Output.Write(m_Text.toUtf8());
        m_Text.resize(0);
    }

    ResultRows& m_Rows;
    RowWriter& m_Writer;
    QueryOutput& m_Output;
    QueryProgress& m_Progress;
    QList<Variant> m_Cells;
    QString m_Text;
};

/// A program that reads rows is not told that there are none to come; a file stays as it was.
void SayWithoutRows(qint64 affected, const QueryOptions& options, QueryOutput& output, QueryProgress& progress)
{
    const QString said = affected < 0 ? QStringLiteral("no rows") : CountOfRows(affected) + QStringLiteral(" affected");
    const bool isForProgram = output.IsStandardOutput() && options.As != QueryOptions::Format::Tabs;
    if (isForProgram) return progress.Finish(said);
    progress.Clear();
    WriteLine(Stream::Output, said);
}

} // namespace

void RunQuery(VelSQLEngine& engine, const QueryOptions& options, QueryOutput& output)
{
    QueryProgress progress(output.IsStandardOutput());
    ResultRows rows(engine.get_History()->Execute(options.Statement));
    const QStringList columns = rows.ColumnNames();
    if (columns.isEmpty()) return SayWithoutRows(rows.Affected(), options, output, progress);
    const RowWriterRef writer = MakeWriter(options.As);
    const qint64 count = RowsToOutput(rows, *writer, output, progress).Write(columns);
    output.Commit();
    progress.Finish(CountOfRows(count));
}
