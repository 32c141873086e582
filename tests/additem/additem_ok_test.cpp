#include "core/automation/SafeArray.h"
#include "tests/additem/AddItemDialog.h"

namespace {

const QStringList Calls = {
    u"Controller(PLC1).AddItem(8204,New,True,,,0,,,0,,False,,3,False,False,False,0,False,0,0,False,0,0,False,0,"_s
    u"False,0,False,0,,False,12,False,12,False,False,False,0,0,0,,)"_s,
    u"Controller(PLC1).get_ItemNames()"_s, u"Controller(PLC1).get_Count()"_s};
const QStringList SuccessLog = {u"Calling Controller:AddItem..."_s, u"Succeeded."_s};

} // namespace

TEST_F(AddItemDialog, AddsTheNodeAndClosesUnlessACallFails)
{
    Open();
    m_Form->open();
    Type("txtItemName", u"New"_s);
    for (int call = 1; call <= Calls.size(); ++call) {
        Plc().Items.resize(2);
        m_Server.FailCall(call, u"Refused.\r\nReally."_s);
        Press("cmdOK");
        EXPECT_EQ(TakeCalls(), Calls.first(call));
        EXPECT_EQ(TakeLog(), SuccessLog.first(call == 1 ? 1 : 2) + QStringList({u"Refused."_s, u"Really."_s}));
        EXPECT_EQ(Nodes(), u"D100 D200"_s);
        EXPECT_TRUE(m_Form->isVisible());
    }
    TakeStatus();
    Press("cmdOK"); // once more, although the server has it already
    EXPECT_EQ(TakeCalls(), Calls);
    EXPECT_EQ(TakeLog(), SuccessLog);
    EXPECT_EQ(TakeStatus(), QStringList({u"Ready."_s, u"AddItem..."_s, u"Ready."_s}));
    EXPECT_EQ(Nodes(), u"D100 D200 +New"_s);
    EXPECT_TRUE(m_Main.SelectedNode() == m_Controller->Child(2) && m_Main.m_CurrentNode == m_Controller->Child(2));
    EXPECT_EQ(m_Main.m_StatusBarRefreshes, 1);
    EXPECT_FALSE(m_Form->isVisible());
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}

TEST_F(AddItemDialog, GrayedIsFalseAndNothingSelectedIsMinusOne)
{
    Open();
    for (QCheckBox* box : m_Form->findChildren<QCheckBox*>()) box->setCheckState(Qt::PartiallyChecked);
    for (ListBox* list : m_Form->findChildren<ListBox*>()) list->SetListIndex(-1);
    Press("cmdOK");
    EXPECT_EQ(TakeCalls().constFirst(),
              u"Controller(PLC1).AddItem(8204,,False,,,-1,,,-1,,False,,-1,False,False,False,-1,False,0,0,False,0,0,"
              "False,0,False,0,False,-1,,False,-1,False,-1,False,False,False,-1,-1,-1,,)");
}

TEST_F(AddItemDialog, PlacesTheNodeByTheServersOrderOrSaysWhyItCannot)
{
    const auto list = [](const QString& names) {
        return Variant(SafeArray(QList<QString>(names.split(u' ', Qt::SkipEmptyParts))));
    };
    const std::tuple<QString, Variant, qint32, QString> rows[] = {
        // the nodes, what the server lists and counts, and the nodes afterwards, or the error
        {u"Stale A"_s, list(u"New A"_s), 2, u"+New Stale A"_s}, // in front of nodes that the server no longer has
        {u"B A C"_s, list(u"A New B"_s), 3, u"B A +New C"_s},   // behind its neighbour, whatever stands there
        {u"A new"_s, list(u"A new New"_s), 3, u"A new +New"_s}, // case matters
        {u"A B"_s, list(u"x "_s.repeated(32768)), 32768, u"Overflow"_s},
        {u"A"_s, list(u"A Else New"_s), 3, u"The object tree has no node \"VelSQLEngine\\PLC1\\Else\"."_s},
        {u"A"_s, list(u"New"_s), 2, u"Subscript out of range"_s}, // no neighbour
        {u"A"_s, Variant(), 1, u"Type mismatch"_s},
        {u"A New"_s, list(u"A New"_s), 2, u"The object tree has a node \"VelSQLEngine\\PLC1\\New\" already."_s},
    };
    for (const auto& [tree, listed, count, result] : rows) {
        SCOPED_TRACE(result.toStdString());
        m_Controller = m_Main.BuildTree(tree.split(u' '))->Child(0);
        Plc().ListedNames = listed;
        Plc().ListedCount = count;
        Open();
        Type("txtItemName", u"New"_s);
        Press("cmdOK");
        const bool isAdded = result.contains(u'+');
        EXPECT_EQ(Nodes(), isAdded ? result : tree);
        EXPECT_EQ(TakeLog(), isAdded ? SuccessLog : SuccessLog + QStringList{result});
        EXPECT_EQ(bool(m_Form->m_csCtrl), !isAdded) << "open where it failed";
    }
}
