#include "history/ResultGrid.h"

#include "core/CellLook.h"
#include "core/DisplayText.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QMenu>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QToolTip>

#include <algorithm>

namespace {

/// How long painting may spend on reading; the rest follows between other events.
constexpr int PaintMs = 8;
constexpr int SizeMs = 20;
constexpr int LeastCharacters = 5;
constexpr int MostCharacters = 45;

/// The pop-up's entries, whose keys work in the grid.
struct CopyEntry
{
    QString Caption;
    QKeySequence Key;
    SelectionCopy::Format Format;
};
const CopyEntry CopyEntries[] = {
    {QStringLiteral("&Copy"), Qt::CTRL | Qt::Key_C, SelectionCopy::Format::Text},
    {QStringLiteral("Copy with &Headers"), Qt::CTRL | Qt::SHIFT | Qt::Key_C, SelectionCopy::Format::TextWithHeaders},
    {QStringLiteral("Copy as C&SV"), Qt::CTRL | Qt::ALT | Qt::Key_C, SelectionCopy::Format::Csv},
};

class CellDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        if (!index.data(ResultModel::ReasonRole).toString().isNull()) CellLook::Hatch(*painter, option);
    }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        const auto kind = static_cast<CellKind>(index.data(ResultModel::KindRole).toInt());
        if (kind == CellKind::Number) option->displayAlignment = Qt::AlignRight | Qt::AlignVCenter;
        if (kind == CellKind::Remark) CellLook::Dim(*option);
    }
};

} // namespace

ResultGrid::ResultGrid(QWidget* parent)
    : QTableView(parent)
    , m_Model(new ResultModel(this))
{
    setModel(m_Model);
    setItemDelegate(new CellDelegate(this));
    setTabKeyNavigation(false);
    setWordWrap(false);
    SetUpHeaders();
    SetUpScrolling();
    connect(m_Model, &ResultModel::modelReset, this, &ResultGrid::LayOutColumns); // after the view's own reset
    connect(m_Model, &ResultModel::Progressed, this, &ResultGrid::Progressed);
}

ResultGrid::~ResultGrid() = default;

void ResultGrid::SetUpHeaders()
{
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultAlignment(Qt::AlignRight | Qt::AlignVCenter);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    // A header that marks what is selected searches all rows or columns each time it is painted.
    for (QHeaderView* header : {verticalHeader(), horizontalHeader()})
        header->setSelectionModel(new QItemSelectionModel(m_Model, header));
    PlaceRows();
}

void ResultGrid::SetUpScrolling()
{
    setHorizontalScrollMode(ScrollPerPixel);
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, &ResultGrid::SizeSeenColumns);
    connect(verticalScrollBar(), &QScrollBar::actionTriggered, this, [this] { m_FollowsEnd = false; });
}

void ResultGrid::PlaceRows()
{
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
}

void ResultGrid::Show(ResultReader reader)
{
    m_Copy.reset();
    m_FollowsEnd = false;
    m_Model->Bind(std::move(reader));
    scrollToTop();
    horizontalScrollBar()->setValue(0);
}

/// Sized by their names first, and by their contents once these are seen.
void ResultGrid::LayOutColumns()
{
    m_Sized.fill(false, m_Model->columnCount());
    for (int column = 0; column < m_Model->columnCount(); ++column) setColumnWidth(column, WidthOf(column, {}));
    SizeSeenColumns();
}

void ResultGrid::SizeSeenColumns()
{
    if (m_Model->rowCount() == 0) return;
    ResultModel::Area seen = VisibleArea();
    // When columns become narrower, others come into sight.
    for (QList<int> columns = UnsizedColumns(seen); !columns.isEmpty(); columns = UnsizedColumns(seen)) {
        m_Model->Prepare(seen, SizeMs);
        for (const int column : columns) {
            m_Sized[column] = true;
            setColumnWidth(column, WidthOf(column, seen));
        }
        seen = VisibleArea();
    }
}

QList<int> ResultGrid::UnsizedColumns(const ResultModel::Area& area) const
{
    QList<int> columns;
    // While the view is being reset, the model is ahead of it.
    const auto last = std::min<qsizetype>(area.LastColumn, m_Sized.size() - 1);
    for (int column = std::max(area.FirstColumn, 0); column <= last; ++column) {
        if (!m_Sized.at(column)) columns << column;
    }
    return columns;
}

int ResultGrid::WidthOf(int column, const ResultModel::Area& seen) const
{
    int width = WidthOf(m_Model->headerData(column, Qt::Horizontal).toString());
    for (int row = seen.FirstRow; row <= seen.LastRow; ++row)
        width = std::max(width, WidthOf(m_Model->index(row, column).data().toString()));
    const int character = fontMetrics().averageCharWidth();
    return std::clamp(width, LeastCharacters * character, MostCharacters * character);
}

int ResultGrid::WidthOf(const QString& text) const
{
    const int besideText = 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 3);
    return fontMetrics().horizontalAdvance(text.left(2 * MostCharacters)) + besideText;
}

ResultModel::Area ResultGrid::VisibleArea() const
{
    const auto orLast = [](int section, int count) { return section < 0 ? count - 1 : section; };
    return {.FirstRow = rowAt(0),
            .LastRow = orLast(rowAt(viewport()->height() - 1), m_Model->rowCount()),
            .FirstColumn = columnAt(0),
            .LastColumn = orLast(columnAt(viewport()->width() - 1), m_Model->columnCount())};
}

void ResultGrid::Progressed()
{
    SizeSeenColumns();
    if (m_FollowsEnd) GoToEnd();
}

void ResultGrid::GoToEnd()
{
    m_FollowsEnd = !m_Model->IsComplete();
    if (m_Model->rowCount() == 0) return;
    updateGeometries(); // includes rows that were just added
    setCurrentIndex(m_Model->index(m_Model->rowCount() - 1, std::max(currentIndex().column(), 0)));
    scrollToBottom();
}

void ResultGrid::Copy(SelectionCopy::Format format)
{
    m_Copy.reset(); // says that it ends before the next one begins
    m_Copy = std::make_unique<SelectionCopy>(*m_Model, selectionModel()->selection(), format);
}

/// Escape, where no copy runs, is the window's.
bool ResultGrid::CopiesOnKey(const QKeyEvent& event)
{
    if (event.key() == Qt::Key_Escape && m_Copy && !m_Copy->IsDone()) return m_Copy.reset(), true;
    for (const CopyEntry& entry : CopyEntries) {
        if (QKeySequence(event.keyCombination()) == entry.Key) return Copy(entry.Format), true;
    }
    if (!event.matches(QKeySequence::Copy)) return false; // its other keys
    return Copy(SelectionCopy::Format::Text), true;
}

void ResultGrid::keyboardSearch(const QString&) {}

void ResultGrid::paintEvent(QPaintEvent* event)
{
    m_Model->Prepare(VisibleArea(), PaintMs);
    QTableView::paintEvent(event);
}

void ResultGrid::keyPressEvent(QKeyEvent* event)
{
    if (CopiesOnKey(*event)) return;
    const bool toEnd = event->key() == Qt::Key_End && !(event->modifiers() & Qt::ShiftModifier);
    QTableView::keyPressEvent(event);
    const bool isAtEnd = currentIndex().row() == m_Model->rowCount() - 1;
    m_FollowsEnd = (toEnd || (m_FollowsEnd && isAtEnd)) && !m_Model->IsComplete();
}

void ResultGrid::mousePressEvent(QMouseEvent* event)
{
    m_FollowsEnd = false;
    QTableView::mousePressEvent(event);
}

void ResultGrid::wheelEvent(QWheelEvent* event)
{
    m_FollowsEnd = false;
    QTableView::wheelEvent(event);
}

/// Home and End go to the first and the last row, without Ctrl in the same column.
QModelIndex ResultGrid::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    if ((action != MoveHome && action != MoveEnd) || m_Model->rowCount() == 0)
        return QTableView::moveCursor(action, modifiers);
    const bool toEnd = action == MoveEnd;
    const int edge = toEnd ? m_Model->columnCount() - 1 : 0;
    const int column = modifiers & Qt::ControlModifier ? edge : std::max(currentIndex().column(), 0);
    return m_Model->index(toEnd ? m_Model->rowCount() - 1 : 0, column);
}

void ResultGrid::contextMenuEvent(QContextMenuEvent* event)
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const CopyEntry& entry : CopyEntries) {
        QAction* copy = menu->addAction(entry.Caption, this, [this, &entry] { Copy(entry.Format); });
        copy->setShortcut(entry.Key);
        copy->setEnabled(selectionModel()->hasSelection());
    }
    menu->addSeparator();
    QAction* all = menu->addAction(QStringLiteral("Select &All"), this, &ResultGrid::selectAll);
    all->setShortcut(QKeySequence::SelectAll);
    all->setEnabled(m_Model->rowCount() > 0);
    QAction* end = menu->addAction(QStringLiteral("Go to &End"), this, &ResultGrid::GoToEnd);
    end->setShortcut(Qt::Key_End);
    end->setEnabled(m_Model->rowCount() > 0);
    menu->popup(event->globalPos());
}

bool ResultGrid::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::ToolTip && ShowToolTip(*static_cast<QHelpEvent*>(event))) return true;
    return QTableView::viewportEvent(event);
}

/// The whole text of a cell that its column cuts off, or why the cell cannot be read.
bool ResultGrid::ShowToolTip(const QHelpEvent& event)
{
    const QModelIndex index = indexAt(event.pos());
    if (!index.isValid()) return false;
    const QString reason = index.data(ResultModel::ReasonRole).toString();
    const QString text = reason.isEmpty() ? index.data().toString() : reason;
    const bool isCut = !reason.isEmpty() || WidthOf(text) > columnWidth(index.column());
    QToolTip::showText(event.globalPos(), isCut ? ToolTipHtml(text) : QString(), this);
    return true;
}

void ResultGrid::showEvent(QShowEvent* event)
{
    QTableView::showEvent(event);
    m_Model->SetActive(true);
}

void ResultGrid::hideEvent(QHideEvent* event)
{
    QTableView::hideEvent(event);
    m_Model->SetActive(false);
}

void ResultGrid::changeEvent(QEvent* event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) PlaceRows();
}

void ResultGrid::resizeEvent(QResizeEvent* event)
{
    QTableView::resizeEvent(event);
    SizeSeenColumns();
}
