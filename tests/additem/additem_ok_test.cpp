#include "core/automation/SafeArray.h"
#include "tests/additem/AddItemDialog.h"
#include "tests/additem/DefinitionSample.h"

namespace {

class AddItemOk : public AddItemDialog
{
protected:
    /// Presses OK of a new dialog with only a name.
    void Add()
    {
        Open();
        Type("txtItemName", u"New"_s);
        Press("cmdOK");
    }
    FakeServer::Controller& Plc() { return m_Server.FindController(u"PLC1"_s); }
    void SetTree(const QStringList& names) { m_Controller = m_Main.BuildTree(names)->Child(0); }
    void ListNames(const QList<QString>& names)
    {
        Plc().ListedNames = Variant(SafeArray(names));
        Plc().ListedCount = static_cast<qint32>(names.size());
    }
};

const QStringList Calls = {
    u"Controller(PLC1).AddItem(8204,New,True,,,0,,,0,,False,,3,False,False,False,0,False,0,0,False,0,0,False,0,"_s
    u"False,0,False,0,,False,12,False,12,False,False,False,0,0,0,,)"_s,
    u"Controller(PLC1).get_ItemNames()"_s, u"Controller(PLC1).get_Count()"_s};
const QStringList SuccessLog = {u"Calling Controller:AddItem..."_s, u"Succeeded."_s};

} // namespace

TEST_F(AddItemOk, AddsTheNodeAndClosesUnlessACallFails)
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
    EXPECT_EQ(m_Main.SelectedNode(), m_Controller->Child(2));
    EXPECT_EQ(m_Main.m_CurrentNode, m_Controller->Child(2));
    EXPECT_EQ(m_Main.m_StatusBarRefreshes, 1);
    EXPECT_FALSE(m_Form->isVisible());
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}

TEST_F(AddItemOk, GrayedIsFalseAndNothingSelectedIsMinusOne)
{
    Open();
    for (QCheckBox* box : m_Form->findChildren<QCheckBox*>()) box->setCheckState(Qt::PartiallyChecked);
    for (ListBox* list : m_Form->findChildren<ListBox*>()) list->SetListIndex(-1);
    Press("cmdOK");
    const QStringList elements = TypedTexts(m_Server.m_AddedDefinition);
    EXPECT_EQ(elements.count(u"11,False"), Flags().size());
    EXPECT_EQ(elements.count(u"2,-1"), m_Form->findChildren<ListBox*>().size());
}

TEST_F(AddItemOk, PlacesTheNodeByTheServersOrder)
{
    const std::array<QString, 4> rows[] = {
        {u"the only item of the server goes last"_s, u"Stale"_s, u"New"_s, u"Stale +New"_s},
        {u"first, in front of nodes that the server no longer has"_s, u"Stale A"_s, u"New A"_s, u"+New Stale A"_s},
        {u"behind its neighbour, whatever stands there"_s, u"B A Stale"_s, u"A New B"_s, u"B A +New Stale"_s},
        {u"case matters"_s, u"A new"_s, u"A new New"_s, u"A new +New"_s},
        {u"not in the list: behind the last one listed"_s, u"A B C"_s, u"A B"_s, u"A B +New C"_s},
        {u"the first of two equal names counts"_s, u"A B"_s, u"A New B New"_s, u"A +New B"_s},
    };
    for (const auto& [title, tree, serverOrder, nodes] : rows) {
        SetTree(tree.split(u' '));
        ListNames(serverOrder.split(u' '));
        Add();
        EXPECT_EQ(Nodes(), nodes) << title.toStdString();
        EXPECT_EQ(TakeLog(), SuccessLog);
    }
}

TEST_F(AddItemOk, AnAnswerThatGivesNoPlaceIsLogged)
{
    const auto names = [](const QStringList& list) { return Variant(SafeArray(QList<QString>(list))); };
    const QList<QString> many(32768, u"x"_s);
    const QString noElse = u"The object tree has no node \"VelSQLEngine\\PLC1\\Else\"."_s;
    const std::tuple<Variant, qint32, QString> rows[] = {
        {names({u"D100"_s, u"Else"_s, u"New"_s}), 3, noElse},
        {names({u"New"_s, u"Else"_s}), 2, noElse},
        {names({u"New"_s}), 2, u"Subscript out of range"_s}, // there is no neighbour
        {names({}), 2, u"Subscript out of range"_s},
        {Variant(), 1, u"Type mismatch"_s},
        {names(many), 32768, u"Overflow"_s}, // a position beyond 32767
    };
    for (const auto& [listed, count, error] : rows) {
        Plc().ListedNames = listed;
        Plc().ListedCount = count;
        Add();
        EXPECT_EQ(TakeLog(), SuccessLog + QStringList{error});
        EXPECT_EQ(Nodes(), u"D100 D200"_s);
        EXPECT_TRUE(m_Form->m_csCtrl) << "still open";
    }
    ListNames(many.first(32766) + QStringList({u"D200"_s, u"New"_s})); // the last position possible
    Add();
    EXPECT_EQ(TakeLog(), SuccessLog);
    EXPECT_EQ(Nodes(), u"D100 D200 +New"_s);

    Add(); // the server has lost it meanwhile
    EXPECT_EQ(TakeLog(),
              SuccessLog + QStringList{u"The object tree has a node \"VelSQLEngine\\PLC1\\New\" already."_s});
    EXPECT_EQ(Nodes(), u"D100 D200 +New"_s);
    EXPECT_TRUE(m_Form->m_csCtrl) << "still open";
}
