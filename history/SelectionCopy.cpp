#include "history/SelectionCopy.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "core/modMain.h"
#include "history/CellFace.h"
#include "history/ResultModel.h"

#include <QClipboard>
#include <QGuiApplication>

namespace {

constexpr int SliceMs = 10;
constexpr int BetweenProgressMs = 100;

RowWriterRef MakeWriter(SelectionCopy::Format format)
{
    return format == SelectionCopy::Format::Csv ? MakeCsvWriter(ArrayTextOf) : MakeTabWriter(ArrayTextOf);
}

/// What large cells come to at least, known before their text is made.
qsizetype LeastCharacters(const Variant& cell)
{
    if (const QString* text = cell.GetIf<QString>()) return text->size();
    return cell.IsArray() ? 2 * cell.Array().Count() : 0;
}

} // namespace

SelectionCopy::SelectionCopy(ResultModel& model, const QItemSelection& selection, Format format)
    : m_Model(model)
    , m_Rows(selection)
    , m_Format(format)
    , m_Writer(MakeWriter(format))
    , m_Cells(m_Rows.Columns().size())
{
    if (m_Rows.IsAtEnd()) {
        m_Done = true;
        return;
    }
    connect(&m_Next, &QTimer::timeout, this, &SelectionCopy::Slice);
    Begin();
    Slice();
    if (!m_Done) m_Next.start(0);
}

SelectionCopy::~SelectionCopy()
{
    if (!m_Done && m_SinceShown.isValid()) modMain::SetStatus(QStringLiteral("Ready."));
}

void SelectionCopy::Begin()
{
    if (m_Format == Format::Text) return;
    QStringList names;
    for (const int column : m_Rows.Columns()) names.append(m_Model.ColumnNames().at(column));
    m_Writer->WriteHead(m_Text, names);
}

void SelectionCopy::Slice()
{
    QElapsedTimer time;
    time.start();
    const bool isRead = modMain::ReportErrors([&] {
        while (!m_Rows.IsAtEnd() && !time.hasExpired(SliceMs)) ReadRow();
    });
    if (isRead && !m_Rows.IsAtEnd()) return ShowProgress();
    m_Done = true;
    m_Next.stop();
    if (isRead) Finish();
    m_Text = QString(); // the clipboard's alone from now on
    m_Cells.clear();
}

void SelectionCopy::ReadRow()
{
    qsizetype size = m_Text.size();
    for (qsizetype i = 0; i < m_Cells.size(); ++i) {
        m_Cells[i] = CellAt(i);
        size += LeastCharacters(m_Cells[i]);
        if (size > MostCharacters)
            throw DescribedError(QStringLiteral("The selection is too large to be copied: it has more than %1 "
                                                "characters. \"velsqlscript --query\" writes it to a file.")
                                     .arg(MostCharacters));
    }
    if (IsPlainCell()) m_Text = WholeText(m_Cells[0]);
    else m_Writer->WriteRow(m_Text, m_Cells);
    m_Rows.Next();
}

Variant SelectionCopy::CellAt(qsizetype i)
{
    return m_Rows.IsSelected(i) ? m_Model.Cell(m_Rows.Row(), m_Rows.Columns().at(i)) : Variant(Null{});
}

void SelectionCopy::ShowProgress()
{
    if (m_SinceShown.isValid() && !m_SinceShown.hasExpired(BetweenProgressMs)) return;
    m_SinceShown.start();
    modMain::SetStatus(QStringLiteral("Copy... %1 of %2 rows (Esc ends it)").arg(m_Rows.Done()).arg(m_Rows.Count()));
}

void SelectionCopy::Finish()
{
    const bool endsWithLine = m_Format != Format::Csv && !IsPlainCell();
    if (endsWithLine) m_Text.chop(1); // a paste is to end in the last line, not behind it
    QGuiApplication::clipboard()->setText(m_Text);
    if (m_SinceShown.isValid()) modMain::SetStatus(QStringLiteral("Ready."));
}
