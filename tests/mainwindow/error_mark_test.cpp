#include "tests/mainwindow/Console.h"

#include <QMdiArea>

namespace {

class ErrorMarkTest : public Console
{
protected:
    static void Fail()
    {
        modMain::ReportErrors([] { throw ServerError(u"No"_s); });
    }
    QAbstractButton& Mark() { return Control<QAbstractButton>("cmdErrors"); }
    /// What the mark tells; empty when there is none.
    QString Told() { return Mark().isVisible() ? Mark().toolTip() : QString(); }
};

TEST_F(ErrorMarkTest, TellsOfErrorsInAHiddenLogUntilThatIsShownOrCleared)
{
    StartActive();
    Fail();
    EXPECT_EQ(Told(), QString()) << "the log shows it";
    Trigger("mnuView_3");
    modMain::AddLog(u"Succeeded."_s);
    EXPECT_EQ(Told(), QString());
    const QRect children = Control<QMdiArea>("mdiChildren").geometry();
    Fail();
    EXPECT_EQ(Told(), u"1 error in the log since it was hidden"_s);
    Fail();
    EXPECT_EQ(Told(), u"2 errors in the log since it was hidden"_s);
    EXPECT_EQ(Mark().accessibleName(), Told());
    EXPECT_EQ(Control<QMdiArea>("mdiChildren").geometry(), children) << "nothing moves";
    Trigger("mnuEdit_2");
    EXPECT_EQ(Told(), QString());
    Fail();
    m_Main->resize(m_Main->size() / 2);
    EXPECT_EQ(Mark().geometry().bottomRight(), Control<QMdiArea>("mdiChildren").viewport()->geometry().bottomRight());
    Trigger("mnuView_3");
    EXPECT_EQ(Told(), QString());
}

TEST_F(ErrorMarkTest, IsPressedByMouseOrKeysAndShowsTheLog)
{
    StartActive();
    const std::pair<std::function<void()>, QWidget*> presses[] = {
        // and where the focus is then
        {[this] { QTest::mouseClick(&Mark(), Qt::LeftButton); }, &Tree()},
        {[this] { QTest::keyClick(&Mark(), Qt::Key_Space); }, &LogBox()},
        {[this] { QTest::keyClick(&Mark(), Qt::Key_Return); }, &LogBox()},
    };
    for (const auto& [press, focus] : presses) {
        Trigger("mnuView_3");
        Fail();
        Tree().setFocus();
        if (focus != &Tree()) QTest::keyClick(&Tree(), Qt::Key_F6);
        press();
        EXPECT_TRUE(LogBox().isVisible() && Control<QAction>("mnuView_3").isChecked() && !Mark().isVisible());
        EXPECT_EQ(QApplication::focusWidget(), focus);
    }
}

} // namespace
