#include "core/ChildWindow.h"
#include "tests/support/WindowTest.h"

#include <QMdiSubWindow>

namespace {

/// A window whose load does what the test says, and that tells what happens to it.
class TestWindow : public ChildWindow
{
public:
    TestWindow() { resize(300, 200); }
    ~TestWindow() override { Told << u"deleted"_s; }

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
    EXPECT_EQ(a->size(), QSize(300, 200)) << "as large as it was drawn";

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

} // namespace
