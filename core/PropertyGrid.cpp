#include "core/PropertyGrid.h"

#include "core/automation/Errors.h"
#include "core/CellLook.h"
#include "core/modFields.h"
#include "core/OneLineDelegate.h"
#include "core/Platform.h"
#include "core/ServerPresence.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPointer>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QToolTip>

namespace {

constexpr int RowTwips = 255;
constexpr int MostRowsWanted = 16;

/// Paints captions like button faces, long texts cut to what fits, and on values what the operator must know of them.
class CellDelegate : public OneLineDelegate
{
public:
    using OneLineDelegate::OneLineDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        OneLineDelegate::paint(painter, option, index);
        if (index.column() == 0) return;
        if (!Grid().WhyUnread(index.row()).isNull()) CellLook::Hatch(*painter, option);
        else if (Grid().IsMarked(index.row())) CellLook::Mark(*painter, option);
    }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (index.column() == 0) {
            option->backgroundBrush = option->palette.brush(QPalette::Button);
            option->palette.setBrush(QPalette::Text, option->palette.brush(QPalette::ButtonText));
        } else if (!Grid().WhyUnread(index.row()).isNull()) CellLook::Dim(*option);
    }

private:
    const PropertyGrid& Grid() const { return *static_cast<const PropertyGrid*>(parent()); }
};

/// Lets window events run, at most once a frame and never nested in another layout.
void RunWindowEvents()
{
    static QElapsedTimer sinceLast;
    static bool running = false;
    if (running || (sinceLast.isValid() && sinceLast.elapsed() < FrameMs)) return;
    const QScopedValueRollback nowRunning(running, true);
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    sinceLast.start();
}

} // namespace

PropertyGrid::PropertyGrid(QWidget* parent)
    : QTableWidget(0, 2, parent)
{
    verticalHeader()->hide();
    horizontalHeader()->hide();
    setHorizontalHeaderLabels({QStringLiteral("Property"), QStringLiteral("Value")}); // screen readers speak them
    horizontalHeader()->setMinimumSectionSize(1);
    setItemDelegate(new CellDelegate(this));
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setTabKeyNavigation(false);
    setWordWrap(false);
    connect(this, &QTableWidget::currentCellChanged, this, &PropertyGrid::ShowCurrentCellInToolTip);
    connect(&m_Marks, &ChangeMarks::Faded, this, &PropertyGrid::UpdateValue);
}

void PropertyGrid::Lay(PropertyRows rows, Layout layout)
{
    const int timesLaid = ++m_TimesLaid;
    const QPointer<PropertyGrid> self(this);
    m_Rows = std::move(rows);
    m_Readings = QList<Reading>(m_Rows.size());
    m_Marks.Clear();
    m_Layout = layout;
    setRowCount(0);
    setRowCount(static_cast<int>(m_Rows.size()));
    PlaceRows();
    for (int row = 0; row < rowCount(); ++row) {
        LayRow(row);
        RunWindowEvents();
        if (!self || m_TimesLaid != timesLaid) return;
    }
    setCurrentCell(0, 1);
}

void PropertyGrid::LayRow(int row)
{
    setItem(row, 0, new QTableWidgetItem(m_Rows.at(row).Caption));
    // Not seen, but what a screen reader calls the row; it would be a number otherwise.
    setVerticalHeaderItem(row, new QTableWidgetItem(m_Rows.at(row).Caption));
    if (!item(row, 1)) setItem(row, 1, new QTableWidgetItem);
}

QString PropertyGrid::CellText(int row, int column) const
{
    const QTableWidgetItem* cell = item(row, column);
    return cell ? cell->text() : QString();
}

void PropertyGrid::Follow(ServerPresence& presence)
{
    m_Presence = &presence;
    connect(&presence, &ServerPresence::Changed, viewport(), qOverload<>(&QWidget::update));
    connect(&presence, &ServerPresence::Changed, this, &PropertyGrid::ServerChanged);
}

QString PropertyGrid::WhyUnread(int row) const
{
    if (const QString absence = m_Presence ? m_Presence->Absence() : QString(); !absence.isEmpty()) return absence;
    const auto& failure = m_Readings.at(row).Failure;
    if (!failure) return {};
    return failure->isEmpty() ? QStringLiteral("The value could not be read.") : *failure;
}

bool PropertyGrid::HasFailedRows() const
{
    return std::any_of(m_Readings.begin(), m_Readings.end(), [](const Reading& last) { return last.Failure; });
}

void PropertyGrid::SetValueText(int row, const QString& text)
{
    ShowReading(row, text, {});
}

/// Only from one text that was read to another is a change: not when a cell is filled for the first time, nor when it
/// could not be read in between.
void PropertyGrid::ShowReading(int row, const QString& text, const std::optional<QString>& failure)
{
    if (row < 0 || row >= rowCount()) return;
    const Reading last = std::exchange(m_Readings[row], {true, failure});
    if (last.Failure.has_value() != failure.has_value()) UpdateValue(row);
    if (!item(row, 1)) setItem(row, 1, new QTableWidgetItem);
    if (item(row, 1)->text() == text) return;
    if (last.WasTried && !last.Failure && !failure) m_Marks.Add(row);
    item(row, 1)->setText(text);
    if (row == currentRow()) ShowCurrentCellInToolTip();
}

void PropertyGrid::RefreshRow(int row)
{
    if (row < 0 || row >= m_Rows.size()) return;
    // Keeps the reader alive, whatever it does to the grid.
    const PropertyRows rows = m_Rows;
    const QPointer<PropertyGrid> self(this);
    const int timesLaid = m_TimesLaid;
    QString text;
    std::optional<QString> failure;
    try {
        text = rows.at(row).Read();
    } catch (...) {
        text = rows.at(row).OnFailure;
        failure = CurrentErrorDescription();
    }
    if (self && timesLaid == m_TimesLaid) ShowReading(row, text, failure);
}

void PropertyGrid::keyboardSearch(const QString&) {}

void PropertyGrid::keyPressEvent(QKeyEvent* event)
{
    // On purpose: every key, even the Ctrl key itself, copies the current cell; only Ctrl+C copies nothing.
    const Qt::KeyboardModifiers shifts =
        event->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier);
    if (event->key() == Qt::Key_C && shifts == Qt::ControlModifier) {
        event->ignore(); // otherwise the table would copy
        return;
    }
    modMain::CopyCellToClipboard(this);
    QTableWidget::keyPressEvent(event);
}

bool PropertyGrid::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip) return QTableWidget::event(event);
    const QPoint place = static_cast<QHelpEvent*>(event)->globalPos();
    const QModelIndex cell = indexAt(viewport()->mapFromGlobal(place));
    const QString whyUnread = cell.column() == 1 ? WhyUnread(cell.row()) : QString();
    QToolTip::showText(place, ToolTipHtml(whyUnread.isNull() ? toolTip() : whyUnread), this);
    return true;
}

void PropertyGrid::changeEvent(QEvent* event)
{
    QTableWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) PlaceRows();
}

void PropertyGrid::resizeEvent(QResizeEvent* event)
{
    QTableWidget::resizeEvent(event);
    PlaceColumns();
}

void PropertyGrid::ShowCurrentCellInToolTip()
{
    if (currentColumn() == 1) setToolTip(CellText(currentRow(), 1));
}

void PropertyGrid::PlaceRows()
{
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(RowHeight());
    PlaceColumns();
    updateGeometry();
}

void PropertyGrid::PlaceColumns()
{
    const int caption = CaptionWidth();
    const int margin = m_Layout.MarginTwips * RowHeight() / RowTwips;
    const int inside = std::min(viewport()->width(), width() - 2 * frameWidth() - margin);
    setColumnWidth(0, caption);
    setColumnWidth(1, std::max(inside - caption, RowHeight()));
}

QSize PropertyGrid::sizeHint() const
{
    const int rows = m_Rows.isEmpty() ? MostRowsWanted : std::min(rowCount(), MostRowsWanted);
    return SizeFor(rows, m_Layout.ValueCharacters);
}

QSize PropertyGrid::minimumSizeHint() const
{
    return SizeFor(4, 8);
}

QSize PropertyGrid::SizeFor(int rows, int valueCharacters) const
{
    const int value = valueCharacters * fontMetrics().averageCharWidth();
    const int scrollBar = verticalScrollBar()->sizeHint().width();
    return QSize(CaptionWidth() + value + scrollBar, rows * RowHeight()).grownBy(QMargins() + frameWidth());
}

int PropertyGrid::CaptionWidth() const
{
    return std::max(m_Layout.CaptionTwips * RowHeight() / RowTwips, LongestCaption());
}

int PropertyGrid::RowHeight() const
{
    return fontMetrics().height() + 4;
}

int PropertyGrid::LongestCaption() const
{
    int longest = 0;
    for (const PropertyRow& row : m_Rows) longest = std::max(longest, fontMetrics().horizontalAdvance(row.Caption));
    const int besideText = style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1;
    // A grid line, and what text layout may round up.
    return longest + 2 * besideText + 2;
}
