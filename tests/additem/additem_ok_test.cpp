#include "core/automation/SafeArray.h"
#include "core/ChildWindow.h"
#include "tests/additem/AddItemDialog.h"
#include "tests/additem/DefinitionSample.h"

#include <QTimer>

namespace {

class AddItemOk : public AddItemDialog
{
protected:
    /// Presses OK of a new dialog with only a name.
    void Add(const QString& name)
    {
        Open();
        Box("txtItemName").setText(name);
        Press("cmdOK");
    }
    FakeServer::Controller& Plc() { return m_Server.FindController(u"PLC1"_s); }
    void SetTree(const QString& names)
    {
        m_Controller = m_Main.BuildTree(names.split(u' ', Qt::SkipEmptyParts))->Child(0);
    }
};

const QStringList Calls = {
    u"Controller(PLC1).AddItem(8204,New,True,,,0,,,0,,False,,3,False,False,False,0,False,0,0,False,0,0,False,0,"_s
    u"False,0,False,0,,False,12,False,12,False,False,False,0,0,0,,)"_s,
    u"Controller(PLC1).get_ItemNames()"_s, u"Controller(PLC1).get_Count()"_s};
const QStringList SuccessLog = {u"Calling Controller:AddItem..."_s, u"Succeeded."_s};

} // namespace

TEST_F(AddItemOk, SendsWhatAFreshDialogShows)
{
    Add(u"X"_s);
    EXPECT_EQ(
        TypedTexts(m_Server.m_AddedDefinition).join(u' '),
        u"8,X 11,True 8, 8, 2,0 8, 8, 2,0 8, 11,False 8, 2,3 11,False 11,False 11,False 2,0 11,False 8,0 8,0 "
        u"11,False 8,0 8,0 11,False 8,0 11,False 8,0 11,False 2,0 8, 11,False 2,12 11,False 2,12 11,False 11,False "
        u"11,False 2,0 2,0 2,0 8, 8,"_s);
}

TEST_F(AddItemOk, GrayedIsFalseAndNothingSelectedIsMinusOne)
{
    Open();
    for (QCheckBox* box : m_Form->findChildren<QCheckBox*>()) box->setCheckState(Qt::PartiallyChecked);
    for (ListBox* list : m_Form->findChildren<ListBox*>()) list->SetListIndex(-1);
    Press("cmdOK");
    for (const QString& element : TypedTexts(m_Server.m_AddedDefinition))
        EXPECT_TRUE(element == u"11,False" || element == u"2,-1" || element == u"8," || element == u"8,0")
            << element.toStdString();
}

TEST_F(AddItemOk, AddsTheNodeAndMakesItCurrent)
{
    Add(u"New"_s);
    EXPECT_EQ(TakeCalls(), Calls);
    EXPECT_EQ(TakeLog(), SuccessLog);
    EXPECT_EQ(m_Main.m_StatusTexts, (QStringList{u"Ready."_s, u"AddItem..."_s, u"Ready."_s}));
    EXPECT_EQ(Nodes(), u"D100 D200 +New"_s);
    const TreeNodeRef node = m_Main.Tree().FindByKey(u"VelSQLEngine\\PLC1\\New"_s);
    ASSERT_TRUE(node);
    EXPECT_EQ(m_Main.SelectedNode(), node);
    EXPECT_EQ(m_Main.m_CurrentNode, node);
    EXPECT_EQ(m_Main.m_StatusBarRefreshes, 1);
    EXPECT_FALSE(m_Form->isVisible());
    EXPECT_FALSE(m_Form->m_csCtrl);
    EXPECT_FALSE(m_Form->m_TreeNode);
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}

TEST_F(AddItemOk, PlacesTheNodeByTheServersOrder)
{
    const struct
    {
        const char* Title;
        QString Tree;
        QString ServerOrder;
        QString Nodes;
    } rows[] = {
        {"the only item of the server goes last", u"Stale"_s, u"New"_s, u"Stale +New"_s},
        {"first, in front of nodes that the server no longer has", u"Stale A"_s, u"New A"_s, u"+New Stale A"_s},
        {"in the middle", u"A B"_s, u"A New B"_s, u"A +New B"_s},
        {"behind its neighbour, whatever stands there", u"B A Stale"_s, u"A New B"_s, u"B A +New Stale"_s},
        {"case matters", u"A new"_s, u"A new New"_s, u"A new +New"_s},
        {"not in the list: behind the last one listed", u"A B C"_s, u"A B"_s, u"A B +New C"_s},
        {"the first of two equal names counts", u"A B"_s, u"A New B New"_s, u"A +New B"_s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Title);
        SetTree(row.Tree);
        const QStringList names = row.ServerOrder.split(u' ');
        Plc().ListedNames = Variant(SafeArray(QList<QString>(names)));
        Plc().ListedCount = static_cast<qint32>(names.size());
        Add(u"New"_s);
        EXPECT_EQ(Nodes(), row.Nodes);
        EXPECT_EQ(TakeCalls(), Calls);
        EXPECT_EQ(TakeLog(), SuccessLog);
        EXPECT_FALSE(m_Form->m_csCtrl) << "closed";
    }
}

TEST_F(AddItemOk, ANeighbourIsLookedForBelowTheControllerOnly)
{
    // Both nodes have the key "VelSQLEngine\PLC1\A\B".
    m_Main.BuildTree({});
    const TreeNodeRef other = m_Main.Tree().Insert(modMain::EngineNode, 0, u"PLC1\\A"_s, NodeTag::Controller);
    m_Main.Tree().Append(other, u"B"_s, NodeTag::Item);
    m_Controller = modMain::EngineNode->Child(1);
    m_Main.Tree().Append(m_Controller, u"A\\B"_s, NodeTag::Item);
    Plc().Items = {FakeServer::Item{u"A\\B"_s}};
    Add(u"New"_s);
    EXPECT_EQ(Nodes(), u"A\\B +New"_s);
    EXPECT_EQ(other->ChildCount(), 1);
}

TEST_F(AddItemOk, AFailureIsLoggedAndLeavesTheDialogOpen)
{
    const QStringList announced = SuccessLog.first(1);
    for (int call = 1; call <= Calls.size(); ++call) {
        SCOPED_TRACE(call);
        Plc().Items.resize(2);
        SetTree(u"D100 D200"_s);
        Show();
        Box("txtItemName").setText(u"New"_s);
        m_Server.FailCall(call, u"Refused.\r\nReally."_s);
        Press("cmdOK");
        EXPECT_EQ(TakeCalls(), Calls.first(call));
        EXPECT_EQ(TakeLog().join(u'/'), (call == 1 ? announced : SuccessLog).join(u'/') + u"/Refused./Really."_s);
        EXPECT_EQ(m_Main.Status(), u"Ready."_s);
        EXPECT_EQ(Nodes(), u"D100 D200"_s);
        EXPECT_EQ(m_Main.m_CurrentNode, modMain::EngineNode);
        EXPECT_TRUE(m_Form->isVisible());
        EXPECT_EQ(Box("txtItemName").text(), u"New"_s);
        EXPECT_EQ(TakeBoxes(), QStringList());

        Press("cmdOK"); // adds it (once more, when the server has it already)
        EXPECT_EQ(TakeCalls(), Calls);
        EXPECT_EQ(TakeLog(), SuccessLog);
        EXPECT_EQ(Nodes(), u"D100 D200 +New"_s);
        EXPECT_FALSE(m_Form->isVisible());
    }
}

TEST_F(AddItemOk, AnAnswerThatGivesNoPlaceIsLogged)
{
    const auto names = [](const QStringList& list) { return Variant(SafeArray(QList<QString>(list))); };
    QList<QString> many(32768, u"x"_s);
    const QString noElse = u"The object tree has no node \"VelSQLEngine\\PLC1\\Else\"."_s;
    const struct
    {
        Variant Names;
        qint32 Count;
        QString Error;
        qsizetype CallsMade;
    } rows[] = {
        {names({u"D100"_s, u"Else"_s, u"New"_s}), 3, noElse, 3},
        {names({u"New"_s, u"Else"_s}), 2, noElse, 3},
        {names({u"New"_s}), 2, u"Subscript out of range"_s, 3}, // there is no neighbour
        {names({}), 2, u"Subscript out of range"_s, 3},
        {Variant(), 1, u"Type mismatch"_s, 2},
        {Variant(SafeArray(QList<qint32>{1, 2})), 2, u"Type mismatch"_s, 2},
        {names(many), 32768, u"Overflow"_s, 2}, // a position beyond 32767
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        Plc().ListedNames = row.Names;
        Plc().ListedCount = row.Count;
        Add(u"New"_s);
        EXPECT_EQ(TakeLog(), SuccessLog + QStringList{row.Error});
        EXPECT_EQ(TakeCalls(), Calls.first(row.CallsMade));
        EXPECT_EQ(Nodes(), u"D100 D200"_s);
        EXPECT_TRUE(m_Form->m_csCtrl) << "still open";
    }

    many.last() = u"New"_s;
    many[32766] = u"D200"_s;
    Plc().ListedNames = Variant(SafeArray(many)); // position 32767 is the last one possible
    Add(u"New"_s);
    EXPECT_EQ(TakeLog(), SuccessLog);
    EXPECT_EQ(Nodes(), u"D100 D200 +New"_s);
}

TEST_F(AddItemOk, IsModalNewEachTimeAndNoChildWindow)
{
    m_Main.Widget()->show();
    QStringList found;
    for (int round = 0; round < 2; ++round) {
        QTimer::singleShot(0, [&] {
            const auto* dialog = m_Main.Widget()->findChild<frmAddItem*>();
            ASSERT_TRUE(dialog);
            EXPECT_EQ(QApplication::activeModalWidget(), dialog);
            EXPECT_FALSE(modMain::FindFormByNode(m_Controller->Key()));
            ChildWindow::UnloadAll();
            found << dialog->findChild<QLineEdit*>(u"txtItemName"_s)->text();
            dialog->findChild<QLineEdit*>(u"txtItemName"_s)->setText(u"entered"_s);
            dialog->findChild<QPushButton*>(u"cmdCancel"_s)->click();
        });
        ShowAddItem(modMain::Engine->get_Controller(Variant(u"PLC1"_s)), m_Controller);
        EXPECT_FALSE(m_Main.Widget()->findChild<frmAddItem*>());
    }
    EXPECT_EQ(found, QStringList({QString(), QString()}));
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}
