#include "core/ObjectTreeModel.h"
#include "mainwindow/LargeTreeView.h"

#include <QAccessible>
#include <QApplication>
#include <QBoxLayout>
#include <QHoverEvent>
#include <QScrollBar>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include <random>

using namespace Qt::StringLiterals;

namespace {

/// The tree beside Qt's own tree view of the same nodes, which are worked in the same way.
class LargeTree : public ::testing::Test
{
protected:
    LargeTree()
    {
        m_Tree.SetImage(NodeTag::Controller, m_Window.style()->standardIcon(QStyle::SP_ComputerIcon));
        m_Tree.SetRoot(u"Engine"_s, NodeTag::Engine);
        for (int i = 0; i < 6; ++i) AddController();
        auto* const layout = new QHBoxLayout(&m_Window);
        for (QAbstractItemView* view : Views()) {
            layout->addWidget(view);
            view->setModel(&m_Tree);
            view->setFixedSize(150, 210);
            view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn); // Qt's own keeps its width until later
        }
        m_Qts.setHeaderHidden(true);
        m_Qts.setUniformRowHeights(true);
        m_Qts.setAnimated(false); // would not hear clicks meanwhile
        m_Window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&m_Window));
        for (QAbstractItemView* view : Views()) view->setFocus(); // makes the first node the current one
    }

    std::array<QAbstractItemView*, 2> Views() { return {&m_View, &m_Qts}; }
    TreeNodeRef AddController()
    {
        const TreeNodeRef node = m_Tree.Append(m_Tree.Root(), u"PLC%1"_s.arg(++m_Named), NodeTag::Controller);
        for (int i = Any(12); i > 0; --i) m_Tree.Append(node, u"Item%1"_s.arg(++m_Named), NodeTag::Item);
        return node;
    }
    int Any(int count) { return std::uniform_int_distribution(0, count - 1)(m_Chance); }
    TreeNodeRef AnyNode()
    {
        const TreeNodeRef controller = m_Tree.Root()->Child(Any(m_Tree.Root()->ChildCount()));
        return controller->ChildCount() > 0 && Any(3) > 0 ? controller->Child(Any(controller->ChildCount()))
                                                          : controller;
    }
    void DoAnything();
    void ExpectTheSame();
    QImage Picture(QAbstractItemView& view)
    {
        view.setFocus();
        return view.viewport()->grab().toImage();
    }

    std::mt19937 m_Chance{20};
    int m_Named = 0;
    QString m_Did;
    ObjectTreeModel m_Tree;
    QWidget m_Window;
    LargeTreeView m_View{&m_Window};
    QTreeView m_Qts{&m_Window};
};

void LargeTree::DoAnything()
{
    constexpr Qt::Key Keys[] = {Qt::Key_Up,   Qt::Key_Down,  Qt::Key_Left, Qt::Key_Right,
                                Qt::Key_Home, Qt::Key_End,   Qt::Key_Plus, Qt::Key_Minus,
                                Qt::Key_Down, Qt::Key_Right, Qt::Key_Up,   Qt::Key_Asterisk};
    const TreeNodeRef node = AnyNode();
    const TreeNodeRef first = m_Tree.Root()->Child(0);
    const int count = m_Tree.Root()->ChildCount();
    switch (Any(8)) {
    case 0: m_Tree.Insert(first, Any(first->ChildCount() + 1), u"new"_s, NodeTag::Item); return;
    case 1: return IsItem(*node) || count > 3 ? m_Tree.Remove(node) : void();
    case 2: return count < 12 ? void(AddController()) : m_Tree.Remove(first);
    default: break;
    }
    const Qt::Key key = Keys[static_cast<std::size_t>(Any(std::size(Keys)))];
    const QPoint place(Any(125), Any(205));
    const int scrolled = Any(40);
    const int what = Any(5);
    // From a node that has been hidden Qt's own goes on from the root.
    m_Did = u"%1 key %2"_s.arg(what).arg(key, 0, 16);
    const bool hasRow = m_View.RowOf(m_View.currentIndex()) >= 0;
    QHoverEvent move(QEvent::HoverMove, place, place, place);
    for (QAbstractItemView* view : Views()) {
        if (what == 0) QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, place);
        if (what == 1) view->setCurrentIndex(m_Tree.IndexOf(node));
        if (what == 2) view->verticalScrollBar()->setValue(scrolled);
        if (what == 3 && hasRow) QTest::keyClick(view, key);
        if (what == 4) QApplication::sendEvent(view->viewport(), &move);
    }
}

void LargeTree::ExpectTheSame()
{
    EXPECT_EQ(m_View.currentIndex(), m_Qts.currentIndex());
    EXPECT_EQ(m_View.selectionModel()->selectedIndexes(), m_Qts.selectionModel()->selectedIndexes());
    EXPECT_EQ(m_View.verticalScrollBar()->value(), m_Qts.verticalScrollBar()->value());
    EXPECT_EQ(m_View.verticalScrollBar()->maximum(), m_Qts.verticalScrollBar()->maximum());
    for (int y = 0; y < 210; y += 7) EXPECT_EQ(m_View.indexAt({60, y}), m_Qts.indexAt({60, y})) << y;
    for (int row = 0; row < m_View.RowCount(); ++row) {
        const QModelIndex index = m_View.IndexOfRow(row);
        EXPECT_EQ(m_View.RowOf(index), row);
        EXPECT_EQ(m_View.visualRect(index), m_Qts.visualRect(index)) << row;
        EXPECT_EQ(m_View.IsExpanded(index), m_Qts.isExpanded(index)) << row;
    }
    EXPECT_EQ(Picture(m_View), Picture(m_Qts));
}

} // namespace

TEST_F(LargeTree, WorksAndLooksAsQtsOwn)
{
    for (int step = 0; step < 1500 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        m_View.setLayoutDirection(step < 1000 ? Qt::LeftToRight : Qt::RightToLeft);
        m_Qts.setLayoutDirection(m_View.layoutDirection());
        DoAnything();
        // Qt's own lays its rows out later.
        QCoreApplication::processEvents();
        SCOPED_TRACE(m_Did.toStdString());
        ExpectTheSame();
    }
}

TEST_F(LargeTree, WhatIsClosedStaysClosedAndKeysGoOnFromWhatIsSeen)
{
    const TreeNodeRef controller = m_Tree.Root()->Child(1);
    m_Tree.Append(controller, {u"a"_s, u"b"_s}, NodeTag::Item);
    const QModelIndex closed = m_Tree.IndexOf(controller);
    const QModelIndex item = m_Tree.IndexOf(controller->Child(0));
    for (QAbstractItemView* view : Views()) {
        view->scrollTo(item);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(item).center());
        const QPoint branch = view->visualRect(closed).topLeft() + QPoint(-5, 5);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, branch);
    }
    QTest::qWait(QApplication::doubleClickInterval() + 300); // then views scroll to what was pressed
    EXPECT_FALSE(m_View.IsExpanded(closed) || m_Qts.isExpanded(closed));
    EXPECT_EQ(m_View.currentIndex(), item);
    EXPECT_EQ(m_View.visualRect(item), QRect());
    QTest::keyClick(&m_View, Qt::Key_Down);
    EXPECT_EQ(m_View.currentIndex(), m_Tree.IndexOf(m_Tree.Root()->Child(2)));
}

TEST_F(LargeTree, LettersGoToTheNextNameThatBeginsWithThem)
{
    m_Tree.SetRoot(u"Engine"_s, NodeTag::Engine);
    const TreeNodeRef plc = m_Tree.Append(m_Tree.Root(), u"PLC"_s, NodeTag::Controller);
    m_Tree.Append(plc, {u"level"_s, u"Limit"_s, u"\u00c4rger"_s, u"lid"_s}, NodeTag::Item);
    const TreeNodeRef closed = m_Tree.Append(m_Tree.Root(), u"Lines"_s, NodeTag::Controller);
    m_Tree.Append(closed, u"limb"_s, NodeTag::Item);
    m_View.setCurrentIndex(m_Tree.IndexOf(plc->Child(0)));
    const auto after = [this](const QString& typed) {
        m_View.keyboardSearch(typed);
        return m_View.currentIndex().data().toString();
    };
    EXPECT_EQ(after(u"l"_s), u"Limit"_s);
    EXPECT_EQ(after(u"I"_s), u"Limit"_s) << "has both letters already";
    EXPECT_EQ(after(u"D"_s), u"lid"_s);
    EXPECT_EQ(after(u"x"_s), u"lid"_s);
    QTest::qWait(QApplication::keyboardInputInterval() + 50);
    for (const QString& name : {u"Lines"_s, u"level"_s, u"Limit"_s}) EXPECT_EQ(after(u"l"_s), name) << "not the closed";
    QTest::qWait(QApplication::keyboardInputInterval() + 50);
    EXPECT_EQ(after(u"\u00e4"_s), u"\u00c4rger"_s);
}

TEST_F(LargeTree, ScreenReadersAreToldWhatIsThereAndOpenIt)
{
    QAccessibleInterface* tree = QAccessible::queryAccessibleInterface(&m_View);
    EXPECT_EQ(tree->role(), QAccessible::Tree);
    EXPECT_EQ(tree->childCount(), 1);
    m_View.Expand(m_Tree.IndexOf(m_Tree.Root()));
    EXPECT_EQ(tree->childCount(), 7);
    const TreeNodeRef controller = AddController();
    m_Tree.Append(controller, {u"a"_s, u"b"_s}, NodeTag::Item);
    m_View.Collapse(m_Tree.IndexOf(controller));
    QAccessibleInterface* node = tree->child(m_View.RowOf(m_Tree.IndexOf(controller)));
    EXPECT_EQ(tree->indexOfChild(node), node->tableCellInterface()->rowIndex());
    EXPECT_TRUE(node->state().collapsed && !node->state().selected);
    node->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_TRUE(node->state().expanded && m_View.IsExpanded(m_Tree.IndexOf(controller)));
    m_View.setFocus();
    m_View.setCurrentIndex(m_Tree.IndexOf(controller));
    EXPECT_EQ(tree->focusChild(), node);
    EXPECT_TRUE(node->state().selected && node->state().focused);
    EXPECT_EQ(tree->tableInterface()->selectedCells(), QList<QAccessibleInterface*>{node});
    EXPECT_EQ(tree->childAt(node->rect().center().x(), node->rect().center().y()), node);
    QAccessibleInterface* item = tree->child(tree->childCount() - 1);
    EXPECT_EQ(item->text(QAccessible::Name), u"b"_s);
    EXPECT_EQ(item->text(QAccessible::Description), u"Item"_s);
    EXPECT_FALSE(item->state().expandable);
    m_Tree.Remove(controller->Child(0));
    EXPECT_EQ(tree->child(tree->childCount() - 1), item) << "stands one row higher";
    m_Tree.Remove(controller->Child(controller->ChildCount() - 1));
    EXPECT_TRUE(!item->isValid() && item->state().invalid);
}
