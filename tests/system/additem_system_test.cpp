#include "additem/frmAddItem.h"
#include "core/modMain.h"
#include "tests/additem/DefinitionSample.h"
#include "tests/system/SystemConsole.h"

namespace {

class AddItemSystem : public SystemConsole
{
protected:
    void SetUp() override { StartBoth(); }
    /// Opens the dialog from the pop-up of PLC1 and uses it.
    template <std::invocable<frmAddItem&> Use>
    void InAddItem(Use&& use)
    {
        InDialog<frmAddItem>([this] { ChooseInPopup(PLC1, "mnuPopupCtrl_6"); }, use);
    }
    QStringList Names()
    {
        QStringList names;
        for (int row = 0; row < Node(PLC1)->ChildCount(); ++row) names << Node(PLC1)->Child(row)->Text();
        return names;
    }
};

TEST_F(AddItemSystem, AnAddedItemStandsLastIsShownAndRemovedAgainWithoutATrace)
{
    const QString key = PLC1 + u"\\New"_s;
    const QStringList before = Names();
    InAddItem([this](frmAddItem& dialog) {
        Type(dialog, "txtItemName", u"New"_s);
        Press(dialog, "cmdOK");
        EXPECT_FALSE(dialog.isVisible());
    });
    EXPECT_EQ(TakeLog(), Called(u"Controller:AddItem"_s));
    EXPECT_EQ(Names(), before + QStringList{u"New"_s});
    EXPECT_EQ(m_Main->m_CurrentNode, Node(key));
    EXPECT_EQ(Panels(), QStringList({u"Ready."_s, u"New"_s, u"0"_s}));
    EXPECT_EQ(Cell(Show(key), u"Name"_s), u"New");

    m_Main->RefreshTlbar();
    Entry("btnRemove").trigger();
    EXPECT_EQ(std::exchange(m_Boxes, {}), QStringList{u"Are you sure ?"_s});
    EXPECT_EQ(TakeLog(), Called(u"Controller:RemoveItem"_s));
    EXPECT_EQ(Names(), before);
    EXPECT_TRUE(ChildWindow::Forms().isEmpty());
    EXPECT_TRUE(WaitUntilNothingIsHeld()) << m_Server.Answer(u"references"_s).toStdString();
}

TEST_F(AddItemSystem, TheServerGetsEveryElementInItsType)
{
    for (const int ticked : QList<int>{-1} + Flags()) {
        SCOPED_TRACE(ticked);
        InAddItem([&](frmAddItem& dialog) {
            EnterSample(dialog, ticked);
            Press(dialog, "cmdOK");
        });
        const Variant arrived = m_Library->CreateValueConverter()->TextToValue(Ask(u"definition"_s));
        EXPECT_EQ(TypedTexts(arrived), SampleDefinition(ticked));
    }
}

TEST_F(AddItemSystem, ClosingEverythingClosesTheDialogToo)
{
    for (const auto& close : {std::function([this] { Entry("mnuWindow_1").trigger(); }), {[this] { m_Main->close(); }}})
        InAddItem([&](frmAddItem& dialog) {
            close();
            EXPECT_FALSE(dialog.isVisible());
        });
    EXPECT_FALSE(modMain::Engine);
}

} // namespace
