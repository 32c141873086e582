// What mouse and keys do to the tree's rows.
#include "mainwindow/LargeTreeView.h"

#include <QApplication>
#include <QHoverEvent>
#include <QKeyEvent>

#include <algorithm>

void LargeTreeView::mousePressEvent(QMouseEvent* event)
{
    const QModelIndex branch = BranchAt(event->position().toPoint());
    if (!branch.isValid()) QAbstractItemView::mousePressEvent(event);
    else if (state() == NoState) Toggle(branch);
}

void LargeTreeView::mouseReleaseEvent(QMouseEvent* event)
{
    if (!BranchAt(event->position().toPoint()).isValid()) QAbstractItemView::mouseReleaseEvent(event);
    else setState(NoState);
}

/// The base scrolls to what was pressed some time later; it may be closed again by then, and stays so.
void LargeTreeView::timerEvent(QTimerEvent* event)
{
    m_OpensWhenScrolling = false;
    QAbstractItemView::timerEvent(event);
    m_OpensWhenScrolling = true;
}

void LargeTreeView::Hover(const QModelIndex& index)
{
    for (const QModelIndex& changed : {QModelIndex(std::exchange(m_Hovered, index)), index})
        if (const int row = RowOf(changed); row >= 0) viewport()->update(RowRect(row));
}

bool LargeTreeView::viewportEvent(QEvent* event)
{
    switch (event->type()) {
    case QEvent::HoverEnter:
    case QEvent::HoverMove: Hover(indexAt(static_cast<QHoverEvent*>(event)->position().toPoint())); break;
    case QEvent::HoverLeave:
    case QEvent::Leave: Hover({}); break;
    default: break;
    }
    return QAbstractItemView::viewportEvent(event);
}

void LargeTreeView::keyPressEvent(QKeyEvent* event)
{
    const QModelIndex current = currentIndex();
    if (!current.isValid()) return QAbstractItemView::keyPressEvent(event);
    switch (event->key()) {
    case Qt::Key_Asterisk: return ExpandAllBelow(current);
    case Qt::Key_Plus: return Expand(current);
    case Qt::Key_Minus: return Collapse(current);
    default: return QAbstractItemView::keyPressEvent(event);
    }
}

QModelIndex LargeTreeView::StepOut(const QModelIndex& index)
{
    if (!IsExpanded(index)) return index.parent().isValid() ? index.parent() : index;
    Collapse(index);
    return index;
}

QModelIndex LargeTreeView::StepIn(const QModelIndex& index)
{
    if (!model()->hasChildren(index)) return index;
    if (IsExpanded(index)) return model()->index(0, 0, index);
    Expand(index);
    return index;
}

QModelIndex LargeTreeView::moveCursor(CursorAction action, Qt::KeyboardModifiers)
{
    const QModelIndex current = currentIndex();
    const int row = RowAround(current);
    if (row < 0) return IndexOfRow(0);
    const auto to = [this](int place) { return IndexOfRow(std::clamp(place, 0, RowCount() - 1)); };
    const bool isMirrored = isRightToLeft();
    switch (action) {
    case MoveUp:
    case MovePrevious: return to(row - 1);
    case MoveDown:
    case MoveNext: return to(row + 1);
    case MovePageUp: return to(row - RowsOnPage());
    case MovePageDown: return to(row + RowsOnPage());
    case MoveHome: return to(0);
    case MoveEnd: return to(RowCount() - 1);
    case MoveLeft: return isMirrored ? StepIn(current) : StepOut(current);
    case MoveRight: return isMirrored ? StepOut(current) : StepIn(current);
    }
    return {};
}

void LargeTreeView::keyboardSearch(const QString& typed)
{
    const bool goesOn = m_SinceTyped.isValid() && !m_SinceTyped.hasExpired(QApplication::keyboardInputInterval());
    m_SinceTyped.start();
    m_Typed = goesOn ? m_Typed + typed : typed;
    if (m_Typed.isEmpty() || RowCount() == 0) return;
    // The same letter again and again goes from one name that begins with it to the next.
    const bool isOneLetter = m_Typed.count(m_Typed.front()) == m_Typed.size();
    const QString wanted = isOneLetter ? m_Typed.first(1) : m_Typed;
    const int current = RowAround(currentIndex());
    const int found = m_Rows->Find(isOneLetter ? current + 1 : current, wanted);
    if (found >= 0) setCurrentIndex(IndexOfRow(found));
}
