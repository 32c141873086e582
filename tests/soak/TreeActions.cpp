// What is done to the tree, the menus, and the windows that are opened by them.
#include "tests/soak/ConsoleActions.h"

#include "core/ChildWindow.h"
#include "mainwindow/ObjectTreeView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QMainWindow>
#include <QPlainTextEdit>

using namespace Qt::StringLiterals;

namespace {

const QString Statements[] = {
    u"SELECT 1"_s,
    u"SELECT * FROM velsql_history"_s,
    u"SELECT * FROM velsql_history ORDER BY item_time DESC"_s,
    u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 30000) SELECT i, 'row ' || i FROM n"_s,
    u"SELECT wrong FROM nowhere"_s,
    u""_s,
};

const QString Scripts[] = {
    u"for (;;) ;"_s,
    u"for (let i = 0; i < 2000; ++i) print(i);"_s,
    u"const item = Vlx.Controller('PLC1').Item('D100');\nfor (let i = 0; i < 50; ++i) item.Value = i;"_s,
    u"print(Vlx.ControllerNames);\nthrow new Error('x');"_s,
};

const QString Sought[] = {u"le"_s, u"D1"_s, u"PUMP0"_s, u"a"_s, u"no such thing"_s};

const Qt::Key TreeKeys[] = {Qt::Key_Up,  Qt::Key_Down,   Qt::Key_Down,     Qt::Key_Left, Qt::Key_Right,    Qt::Key_Home,
                            Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Plus, Qt::Key_Asterisk, Qt::Key_P};

} // namespace

ObjectTreeView* ConsoleActions::Tree() const
{
    auto* main = FrontAs<QMainWindow>();
    auto* tree = main ? main->findChild<ObjectTreeView*>() : nullptr;
    return tree && tree->isVisible() ? tree : nullptr;
}

bool ConsoleActions::Seek(NodeTag tag)
{
    const QPointer<ObjectTreeView> tree = Tree();
    if (!tree) return false;
    m_Hand.ClickAt(*tree->viewport(), {tree->viewport()->width() - 5, tree->viewport()->height() - 5});
    m_Hand.Key(tag == NodeTag::History ? Qt::Key_End : Qt::Key_Home);
    const auto isThere = [&] { return tree && tree->SelectedNode() && tree->SelectedNode()->Tag() == tag; };
    for (int row = 0; row < 12 && tree && !(isThere() && m_Hand.OneIn(2)); ++row) {
        const bool opens =
            tag == NodeTag::Item && tree->SelectedNode() && tree->SelectedNode()->Tag() == NodeTag::Controller;
        if (opens) m_Hand.Key(Qt::Key_Right);
        if (tag != NodeTag::History && tag != NodeTag::Engine) m_Hand.Key(Qt::Key_Down);
    }
    return isThere() && tree->isVisible() && Tree() == tree;
}

QPoint ConsoleActions::PlaceOfCurrent() const
{
    const QRect row = Tree()->visualRect(Tree()->currentIndex());
    return {row.left() + 10, row.center().y()};
}

bool ConsoleActions::Walk()
{
    ObjectTreeView* tree = Tree();
    if (!tree) return false;
    m_Hand.Click(*tree->viewport());
    for (int i = m_Hand.Number(12); i >= 0; --i) m_Hand.Key(m_Hand.OneOf(TreeKeys));
    return true;
}

bool ConsoleActions::OpenNode()
{
    constexpr NodeTag Kinds[] = {NodeTag::Item,       NodeTag::Item,    NodeTag::Item,  NodeTag::Controller,
                                 NodeTag::Controller, NodeTag::History, NodeTag::Engine};
    if (!Seek(m_Hand.OneOf(Kinds))) return false;
    if (m_Hand.OneIn(2)) m_Hand.Key(Qt::Key_Return);
    else m_Hand.DoubleClickAt(*Tree()->viewport(), PlaceOfCurrent());
    return true;
}

bool ConsoleActions::NodeMenu()
{
    constexpr NodeTag Kinds[] = {NodeTag::Item,    NodeTag::Controller, NodeTag::Controller,
                                 NodeTag::History, NodeTag::Engine,     NodeTag::AddItem};
    if (!Seek(m_Hand.OneOf(Kinds))) return false;
    if (m_Hand.OneIn(2)) m_Hand.Key(Qt::Key_Menu);
    else m_Hand.ClickAt(*Tree()->viewport(), PlaceOfCurrent(), Qt::RightButton);
    return true;
}

bool ConsoleActions::Menu()
{
    constexpr Qt::Key Letters[] = {Qt::Key_E, Qt::Key_E, Qt::Key_V, Qt::Key_V,
                                   Qt::Key_T, Qt::Key_W, Qt::Key_W, Qt::Key_H};
    if (!FrontAs<QMainWindow>()) return false;
    m_Hand.Key(Qt::ALT | m_Hand.OneOf(Letters));
    return true;
}

bool ConsoleActions::Find()
{
    if (ObjectTreeView* tree = Tree()) m_Hand.ClickAt(*tree->viewport(), {tree->viewport()->width() - 5, 5});
    m_Hand.Key(Qt::CTRL | Qt::Key_F);
    m_Hand.Type(m_Hand.OneOf(Sought));
    m_Hand.Key(Qt::Key_Return, m_Hand.Number(3));
    if (m_Hand.OneIn(2)) m_Hand.Key(Qt::Key_Escape);
    return true;
}

bool ConsoleActions::Statement()
{
    if (!Seek(NodeTag::History)) return false;
    m_Hand.Key(Qt::Key_Return);
    QWidget* front = m_Hand.Front();
    if (!TypeOver(front->findChild<QPlainTextEdit*>(u"txtExecute"_s), m_Hand.OneOf(Statements))) return true;
    m_Hand.Key(Qt::CTRL | Qt::Key_Return);
    return true;
}

bool ConsoleActions::Script()
{
    if (!FrontAs<QMainWindow>()) return false;
    m_Hand.Key(Qt::ALT | Qt::Key_T);
    m_Hand.Key(Qt::Key_V);
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->objectName() != u"frmScriptTool"_s || !window->isVisible()) continue;
        if (TypeOver(window->findChild<QPlainTextEdit*>(u"txtScript"_s), m_Hand.OneOf(Scripts))) m_Hand.Key(Qt::Key_F5);
        break;
    }
    return true;
}

bool ConsoleActions::Guide()
{
    m_Hand.Key(Qt::Key_F1);
    return true;
}

bool ConsoleActions::Batch()
{
    if (!Seek(NodeTag::Controller)) return false;
    m_Hand.ClickAt(*Tree()->viewport(), PlaceOfCurrent(), Qt::RightButton);
    m_Hand.Key(Qt::Key_B);
    const auto isBatch = [](const ChildWindow* form) {
        return form->isVisible() && form->objectName() == u"frmBatchWrite"_s;
    };
    const auto& forms = ChildWindow::Forms();
    const auto batch = std::find_if(forms.begin(), forms.end(), isBatch);
    if (batch == forms.end()) return true;
    const QPointer<ChildWindow> form = *batch;
    if (!TypeOver(form->findChild<QLineEdit*>(u"txtFilename"_s), m_BatchFile) || !form) return true;
    m_Hand.Click(*form->findChild<QAbstractButton*>(u"cmdStart"_s));
    return true;
}
