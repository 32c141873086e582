#include "core/ChildWindow.h"
#include "core/WindowPlace.h"
#include "tests/support/WindowTest.h"

#include <QBoxLayout>
#include <QDialog>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QScreen>

namespace {

/// A window whose load does what the test says, and that tells what happens to it.
class TestWindow : public ChildWindow
{
public:
    ~TestWindow() override { Told << u"deleted"_s; }

    QSize sizeHint() const override { return {300, 200}; }
    QMdiSubWindow* Frame() const { return qobject_cast<QMdiSubWindow*>(parentWidget()); }
    bool IsActive() const { return modMain::GetMainWindow()->ChildArea().activeSubWindow() == Frame(); }
    bool IsInFront() const { return isVisible() && !Frame()->isMinimized() && IsActive(); }

    inline static QStringList Told;
    inline static std::function<bool(TestWindow&)> OnLoad;
    bool m_MayClose = true;

protected:
    bool Load() override { return !OnLoad || OnLoad(*this); }
    void FormUnload() override { Told << u"unloaded"_s; }
    bool MayClose() const override { return m_MayClose; }
};

class ChildWindows : public WindowTest<TestWindow>
{
protected:
    ChildWindows()
    {
        TestWindow::Told.clear();
        TestWindow::OnLoad = nullptr;
        m_Main.Widget()->show();
    }

    QPointer<TestWindow> Open(const TreeNodeRef& node) { return ChildWindow::Open<TestWindow>(node); }
    QPointer<TestWindow> Open(int item) { return Open(m_Controller->Child(item)); }
    QPointer<TestWindow> Show(int item)
    {
        const QPointer<TestWindow> form = Open(item);
        form->ShowForm();
        return form;
    }
    static void BackInTheEventLoop()
    {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    /// Nothing of any window is left, and `windows` of them were unloaded and then deleted.
    void ExpectAllGone(int windows)
    {
        EXPECT_TRUE(ChildWindow::Forms().isEmpty());
        BackInTheEventLoop();
        EXPECT_TRUE(m_Main.ChildArea().subWindowList().isEmpty());
        EXPECT_EQ(TestWindow::Told.count(u"unloaded"_s), windows);
        EXPECT_EQ(TestWindow::Told.count(u"deleted"_s), windows);
        TestWindow::Told.clear();
    }
};

TEST_F(ChildWindows, OpenHiddenAreBroughtUpAndHandActivationOnWhenHidden)
{
    const auto none = Open(TreeNodeRef());
    const auto a = Open(0);
    EXPECT_EQ(modMain::FindFormByNode(a->m_TreeNode->Key()), a);
    EXPECT_EQ(modMain::FindFormByNode(a->m_TreeNode->Key().toUpper()), nullptr);
    BackInTheEventLoop();
    EXPECT_FALSE(a->isVisible() || a->Frame()->isVisible());
    a->ShowForm();
    EXPECT_TRUE(a->IsInFront());
    EXPECT_EQ(a->size(), QSize(300, 200)) << "as large as it asks for";

    const auto b = Show(1);
    EXPECT_TRUE(b->IsInFront());
    a->Frame()->showMinimized();
    b->ShowForm();
    b->HideForm();
    EXPECT_FALSE(b->isVisible() || a->IsActive()) << "neither hidden nor minimised windows take over";
    a->ShowForm();
    EXPECT_TRUE(a->IsInFront());
    a->Frame()->showMaximized();
    b->ShowForm();
    EXPECT_TRUE(b->IsInFront()) << "covered no longer";
    b->HideForm();
    EXPECT_TRUE(a->IsInFront());
    EXPECT_EQ(ChildWindow::Forms(), (QList<ChildWindow*>{none, a, b})) << "hidden ones stay loaded";

    a->m_MayClose = false;
    a->Frame()->close();
    EXPECT_TRUE(a->IsInFront());
    a->m_MayClose = true;
    a->Frame()->close();
    a->Unload();
    a->ShowForm();
    EXPECT_FALSE(a->isVisible());
    EXPECT_EQ(TestWindow::Told, QStringList{u"unloaded"_s}) << "its own procedure may have closed it";
}

TEST(WindowPlace, CoversOthersLeastAndLeavesTheirTitlesInSight)
{
    const QRect a(0, 0, 40, 40), b(40, 0, 40, 40), c(0, 40, 40, 40), d(40, 40, 40, 40);
    const struct
    {
        QList<QRect> Taken; // in an area of 100 x 80, with titles of 8
        QSize Size;
        QPoint Expected;
        const char* Why;
    } cases[] = {
        {{}, {40, 40}, {0, 0}, "the first"},
        {{a}, {40, 40}, {40, 0}, "beside"},
        {{a, b}, {40, 40}, {0, 40}, "the next row"},
        {{b, c}, {40, 40}, {0, 0}, "the gap that a closed one has left"},
        {{a, b, c}, {60, 40}, {40, 40}, "as wide as the gap"},
        {{{0, 0, 40, 80}}, {75, 40}, {25, 8}, "the title stays in sight"},
        {{a, b, c, d}, {40, 40}, {60, 0}, "covers the least"},
        {{{0, 0, 100, 80}}, {100, 77}, {0, 0}, "what fills the area begins where it does"},
        {{{0, 0, 50, 40}}, {200, 300}, {0, 0}, "larger than the area"},
    };
    for (const auto& [taken, size, expected, why] : cases)
        EXPECT_EQ(LeastCoveringPlace({{100, 80}, 8, taken}, size), expected) << why;
}

TEST_F(ChildWindows, ThatCannotLoadOrGoWhileTheyLoadLeaveNothingBehind)
{
    TestWindow::OnLoad = [](TestWindow&) { return false; };
    EXPECT_EQ(Open(0), nullptr);
    TestWindow::OnLoad = [](TestWindow&) -> bool { throw ServerError(u"unknown"_s); };
    EXPECT_THROW(Open(0), ServerError);
    ExpectAllGone(2);
    TestWindow::OnLoad = [this](TestWindow& form) {
        EXPECT_EQ(modMain::FindFormByNode(m_Controller->Child(0)->Key()), &form) << "a second Show finds it";
        QMetaObject::invokeMethod(qApp, &ChildWindow::UnloadAll, Qt::QueuedConnection);
        for (int i = 0; i < 3; ++i) BackInTheEventLoop();
        form.ShowForm();
        EXPECT_TRUE(form.IsUnloading() && !form.isVisible());
        EXPECT_EQ(TestWindow::Told, QStringList()) << "whole until its load has ended";
        return true;
    };
    EXPECT_EQ(Open(0), nullptr);
    ExpectAllGone(1);
}

TEST_F(ChildWindows, KeepTheOperatorsPlaceAndAMaximisedOnesPlaceStaysTaken)
{
    const auto a = Show(0);
    a->Frame()->setGeometry(50, 60, 400, 250);
    a->HideForm();
    a->ShowForm();
    EXPECT_EQ(a->Frame()->geometry(), QRect(50, 60, 400, 250));
    a->Frame()->showMaximized();
    const auto b = Show(1);
    EXPECT_TRUE(b->Frame()->isMaximized() && b->IsInFront()) << "as the one before it";
    b->HideForm();
    EXPECT_TRUE(a->Frame()->isMaximized() && a->IsInFront()) << "handed on";
    b->ShowForm();
    b->Frame()->showNormal();
    EXPECT_EQ(a->Frame()->geometry(), QRect(50, 60, 400, 250));
    EXPECT_FALSE(b->Frame()->geometry().intersects(a->Frame()->geometry()));
    EXPECT_EQ(b->size(), QSize(300, 200));
}

TEST_F(ChildWindows, AllCloseHiddenOnesIncluded)
{
    const std::function<void()> waysToCloseAll[] = {
        &ChildWindow::UnloadAll, [this] { m_Main.ChildArea().closeAllSubWindows(); },
        [] { qDeleteAll(QList(ChildWindow::Forms())); },
        [this] { qDeleteAll(m_Main.ChildArea().subWindowList()); }, // as when the main window goes
    };
    for (const auto& closeAll : waysToCloseAll) {
        Show(0);
        Show(1)->HideForm();
        Open(m_Controller);
        closeAll();
        ExpectAllGone(3);
    }
}

TEST(FirstSize, AControlThatTheScreenHasNoRoomForIsScrolledInItsDialog)
{
    QDialog dialog;
    auto* large = new QLineEdit;
    large->setMinimumSize(5000, 5000);
    (new QVBoxLayout(&dialog))->addWidget(large);
    large->setFocus();
    SetFirstSize(dialog, dialog.sizeHint());
    dialog.show();
    EXPECT_EQ(dialog.size().boundedTo(dialog.screen()->availableSize()), dialog.size());
    EXPECT_EQ(large->size().expandedTo({5000, 5000}), large->size());
    EXPECT_EQ(dialog.focusWidget(), large);
}

} // namespace
