#include "mainwindow/SpokenTree.h"

#include "mainwindow/LargeTreeView.h"

#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>

namespace {

class SpokenNode : public QAccessibleInterface, public QAccessibleTableCellInterface, public QAccessibleActionInterface
{
public:
    SpokenNode(LargeTreeView& view, const QModelIndex& index)
        : m_View(&view)
        , m_Index(index)
    {
    }

    bool isValid() const override { return rowIndex() >= 0; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return isValid() ? parent()->window() : nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(m_View); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }

    QAccessible::Role role() const override { return QAccessible::TreeItem; }
    QString text(QAccessible::Text text) const override
    {
        if (text == QAccessible::Name) return m_Index.data().toString();
        return text == QAccessible::Description ? m_Index.data(Qt::AccessibleDescriptionRole).toString() : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override
    {
        if (!isValid()) return {};
        const QRect place = m_View->visualRect(m_Index);
        return {m_View->viewport()->mapToGlobal(place.topLeft()), place.size()};
    }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invalid = !isValid();
        if (state.invalid) return state;
        state.selectable = state.focusable = true;
        state.selected = isSelected();
        state.focused = m_Index == m_View->currentIndex() && m_View->hasFocus();
        state.expandable = HasBranch();
        state.expanded = state.expandable && m_View->IsExpanded(m_Index);
        state.collapsed = state.expandable && !state.expanded;
        state.offscreen = !m_View->viewport()->rect().intersects(m_View->visualRect(m_Index));
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::TableCellInterface) return static_cast<QAccessibleTableCellInterface*>(this);
        if (type == QAccessible::ActionInterface) return static_cast<QAccessibleActionInterface*>(this);
        return nullptr;
    }

    bool isSelected() const override { return isValid() && m_View->selectionModel()->isSelected(m_Index); }
    QList<QAccessibleInterface*> columnHeaderCells() const override { return {}; }
    QList<QAccessibleInterface*> rowHeaderCells() const override { return {}; }
    int columnIndex() const override { return 0; }
    int rowIndex() const override { return m_View && m_Index.isValid() ? m_View->RowOf(m_Index) : -1; }
    int columnExtent() const override { return 1; }
    int rowExtent() const override { return 1; }
    QAccessibleInterface* table() const override { return parent(); }

    QStringList actionNames() const override
    {
        return isValid() && HasBranch() ? QStringList{toggleAction()} : QStringList();
    }
    void doAction(const QString& action) override
    {
        if (!actionNames().contains(action)) return;
        if (m_View->IsExpanded(m_Index)) m_View->Collapse(m_Index);
        else m_View->Expand(m_Index);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    bool HasBranch() const { return m_Index.model()->hasChildren(m_Index); }

    QPointer<LargeTreeView> m_View;
    QPersistentModelIndex m_Index;
};

class SpokenRows : public QAccessibleWidget, public QAccessibleTableInterface
{
public:
    explicit SpokenRows(LargeTreeView* view)
        : QAccessibleWidget(view, QAccessible::Tree)
    {
    }
    ~SpokenRows() override
    {
        for (const QAccessible::Id id : m_Nodes) QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return rowCount(); }
    QAccessibleInterface* child(int row) const override { return cellAt(row, 0); }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        return Spoken(View().indexAt(View().viewport()->mapFromGlobal(QPoint(x, y))));
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        auto* const node = dynamic_cast<const SpokenNode*>(child);
        return node ? node->rowIndex() : -1;
    }
    QAccessibleInterface* focusChild() const override
    {
        return View().hasFocus() ? Spoken(View().currentIndex()) : nullptr;
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::TableInterface) return static_cast<QAccessibleTableInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    QAccessibleInterface* caption() const override { return nullptr; }
    QAccessibleInterface* summary() const override { return nullptr; }
    QAccessibleInterface* cellAt(int row, int column) const override
    {
        return column == 0 ? Spoken(View().IndexOfRow(row)) : nullptr;
    }
    int selectedCellCount() const override { return selectedRowCount(); }
    QList<QAccessibleInterface*> selectedCells() const override
    {
        QList<QAccessibleInterface*> cells;
        for (const int row : selectedRows()) cells << cellAt(row, 0);
        return cells;
    }
    QString columnDescription(int) const override { return {}; }
    QString rowDescription(int) const override { return {}; }
    int selectedColumnCount() const override { return 0; }
    int selectedRowCount() const override { return static_cast<int>(selectedRows().size()); }
    int columnCount() const override { return 1; }
    int rowCount() const override { return View().RowCount(); }
    QList<int> selectedColumns() const override { return {}; }
    /// At most one.
    QList<int> selectedRows() const override
    {
        const int row = View().RowOf(View().currentIndex());
        return row >= 0 ? QList<int>{row} : QList<int>();
    }
    bool isColumnSelected(int) const override { return false; }
    bool isRowSelected(int row) const override { return selectedRows().contains(row); }
    bool selectRow(int row) override
    {
        const QModelIndex index = View().IndexOfRow(row);
        if (index.isValid()) View().setCurrentIndex(index);
        return index.isValid();
    }
    bool selectColumn(int) override { return false; }
    bool unselectRow(int) override { return false; }
    bool unselectColumn(int) override { return false; }
    void modelChange(QAccessibleTableModelChangeEvent*) override
    {
        m_Nodes.removeIf([](const std::pair<const QPersistentModelIndex&, QAccessible::Id&>& node) {
            if (!node.first.isValid()) QAccessible::deleteAccessibleInterface(node.second);
            return !node.first.isValid();
        });
    }

private:
    LargeTreeView& View() const { return *static_cast<LargeTreeView*>(widget()); }
    QAccessibleInterface* Spoken(const QModelIndex& index) const
    {
        if (!index.isValid()) return nullptr;
        QAccessible::Id& id = m_Nodes[index];
        if (id == 0) id = QAccessible::registerAccessibleInterface(new SpokenNode(View(), index));
        return QAccessible::accessibleInterface(id);
    }

    /// Those that somebody has asked for.
    mutable QHash<QPersistentModelIndex, QAccessible::Id> m_Nodes;
};

QAccessibleInterface* MakeSpoken(const QString& name, QObject* object)
{
    auto* const tree = name == QLatin1String("LargeTreeView") ? qobject_cast<LargeTreeView*>(object) : nullptr;
    return tree ? new SpokenRows(tree) : nullptr;
}

} // namespace

void SpokenTree::Announce()
{
    QAccessible::installFactory(MakeSpoken);
}

void SpokenTree::Tell(LargeTreeView& tree, QAccessible::Event event, int row)
{
    if (!QAccessible::isActive() || row < 0) return;
    QAccessibleEvent told(&tree, event);
    told.setChild(row);
    QAccessible::updateAccessibility(&told);
}

void SpokenTree::TellExpanded(LargeTreeView& tree, int row, bool isExpanded)
{
    if (!QAccessible::isActive() || row < 0) return;
    QAccessible::State changed;
    changed.expanded = isExpanded;
    changed.collapsed = !isExpanded;
    QAccessibleStateChangeEvent told(&tree, changed);
    told.setChild(row);
    QAccessible::updateAccessibility(&told);
}
