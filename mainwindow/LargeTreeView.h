#pragma once

#include "mainwindow/OpenRows.h"

#include <QAbstractItemView>
#include <QElapsedTimer>

#include <memory>

/// The object tree in rows of one height, each with the branch that opens and closes it, which mouse, keys and styles
/// work as they do Qt's own tree view. That one makes a place in memory for each row and goes through them all when one
/// comes or goes; this one takes the same time and memory for a million rows as for ten.
class LargeTreeView : public QAbstractItemView
{
    Q_OBJECT

public:
    explicit LargeTreeView(QWidget* parent = nullptr);

    /// An ObjectTreeModel.
    void setModel(QAbstractItemModel* model) override;

    bool IsExpanded(const QModelIndex& index) const;
    void Expand(const QModelIndex& index);
    void Collapse(const QModelIndex& index);
    /// How far a node stands to the right of the one above it, in pixels.
    int Indentation() const;

    int RowCount() const;
    /// Counted from 0; -1 for a node that has no row.
    int RowOf(const QModelIndex& index) const;
    QModelIndex IndexOfRow(int row) const;

    /// The node's image and name, and what is right of them; empty for a node that has no row.
    QRect visualRect(const QModelIndex& index) const override;
    /// Opens all nodes above it.
    void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;
    QModelIndex indexAt(const QPoint& place) const override;
    /// Goes to the next row whose name begins with what is being typed, in any letter case.
    void keyboardSearch(const QString& typed) override;
    void reset() override;
    void doItemsLayout() override;

protected:
    virtual void DrawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;

    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    int horizontalOffset() const override { return 0; }
    int verticalOffset() const override;
    bool isIndexHidden(const QModelIndex&) const override { return false; }
    void setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) override;
    QRegion visualRegionForSelection(const QItemSelection& selection) const override;
    void updateGeometries() override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void rowsInserted(const QModelIndex& parent, int first, int last) override;

    const ObjectTreeModel& Tree() const { return *static_cast<const ObjectTreeModel*>(model()); }
    /// The node whose branch is at this place, if it has one.
    QModelIndex BranchAt(const QPoint& place) const;

private:
    void Relay();
    void ExpandAllBelow(const QModelIndex& index);
    void Toggle(const QModelIndex& index);
    void TellExpanded(const QModelIndex& index, bool isExpanded);
    void Hover(const QModelIndex& index);
    /// Where an arrow key leads that closes a node or goes to the one above it, opens it or goes into it.
    QModelIndex StepOut(const QModelIndex& index);
    QModelIndex StepIn(const QModelIndex& index);
    /// The node's own row, or that of the lowest node above it that has one.
    int RowAround(const QModelIndex& index) const;
    int FirstRow() const;
    int RowsOnPage() const;
    int RowHeight() const;
    /// The whole row, with its branches.
    QRect RowRect(int row) const;
    QRect BranchesRect(int row, const QModelIndex& index) const;
    QRect Mirrored(const QRect& rect) const;
    void DrawBranches(QPainter* painter, QStyleOptionViewItem option, const QModelIndex& index) const;

    std::unique_ptr<OpenRows> m_Rows;
    mutable int m_RowHeight = 0; ///< in pixels; 0 while nobody has asked for it
    bool m_OpensWhenScrolling = true;
    QPersistentModelIndex m_Hovered;
    QString m_Typed;
    QElapsedTimer m_SinceTyped;
};
