#include "additem/frmAddItem.h"
#include "core/PropertyGrid.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/mainwindow/Console.h"

#include <QClipboard>
#include <QTimer>

namespace {

class Help : public Console
{
protected:
    void SetUp() override { StartActive(); }

    /// The pages that F1 opens where the focus is.
    QStringList PressF1()
    {
        QWidget* focus = QApplication::focusWidget();
        QTest::keyClick(focus ? focus : QApplication::activeWindow(), Qt::Key_F1);
        return std::exchange(m_Browsed, {});
    }
    /// The same in the modal dialog that the action opens and that is then closed.
    template <typename Dialog, typename Action>
    QStringList PressF1InDialog(Action open)
    {
        QStringList pages;
        QTimer::singleShot(0, m_Main.get(), [&] {
            auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
            ASSERT_TRUE(dialog && QTest::qWaitFor([&] { return dialog->isAncestorOf(QApplication::focusWidget()); }));
            pages = PressF1();
            dialog->reject();
        });
        open();
        return pages;
    }
};

} // namespace

TEST_F(Help, F1OpensThePageOfTheWindow)
{
    const std::pair<QString, QString> cases[] = {{u"VelSQLEngine"_s, u"guide/subscribe.html"_s},
                                                 {PLC1, u"guide/subscribe.html"_s},
                                                 {D100, u"guide/write.html"_s},
                                                 {u"VelSQLEngine\\VelSQLHistory"_s, u"guide/history.html"_s}};
    for (const auto& [key, page] : cases) {
        Tree().setFocus();
        EXPECT_EQ(PressF1(), QStringList(u"user-guide.html"_s));
        DoubleClick(key);
        EXPECT_EQ(PressF1(), QStringList(page)) << key.toStdString();
    }
    LogBox().setFocus();
    EXPECT_EQ(PressF1(), QStringList(u"user-guide.html"_s));
    Click(Node(PLC1));
    Control<QAction>("mnuPopupCtrl_8").trigger();
    EXPECT_EQ(PressF1(), QStringList(u"guide/batch.html"_s));
    Trigger("mnuTool_0");
    ASSERT_TRUE(QTest::qWaitFor([] { return QApplication::activeWindow()->objectName() == u"frmScriptTool"; }));
    EXPECT_EQ(PressF1(), QStringList(u"scripting.html"_s));
}

TEST_F(Help, F1OpensThePageOfAModalDialog)
{
    Click(Node(PLC1));
    EXPECT_EQ(PressF1InDialog<frmAddItem>([&] { Control<QAction>("mnuPopupCtrl_6").trigger(); }),
              QStringList(u"guide/add-item.html"_s));
    DoubleClick(D100);
    EXPECT_EQ(PressF1InDialog<frmPerfChk>([&] { Press(*ChildWindow::Forms().last(), "cmdPerfchk"); }),
              QStringList(u"guide/measure.html"_s));
}

TEST_F(Help, AGridCopiesItsCellAtF1AsAtAnyKey)
{
    DoubleClick(D100);
    auto& grid = Control<PropertyGrid>(*ChildWindow::Forms().last(), "fgItem");
    grid.setCurrentCell(0, 0);
    grid.setFocus();
    EXPECT_EQ(PressF1(), QStringList(u"guide/write.html"_s));
    EXPECT_EQ(QApplication::clipboard()->text(), grid.CellText(0, 0));
}

TEST_F(Help, TheGuidesWindowClosesWithTheConsole)
{
    m_HasBrowser = false;
    PressF1();
    ASSERT_TRUE(QTest::qWaitFor([] { return QApplication::activeWindow()->objectName() == u"frmGuide"; }));
    const QPointer<QWidget> guide = QApplication::activeWindow();
    m_Main->close();
    EXPECT_FALSE(guide && guide->isVisible());
}

TEST_F(Help, AltPGoesFromOneOfItsTwoButtonsToTheOtherAndPressesNone)
{
    DoubleClick(D100);
    for (const char* start : {"cmbType", "txtDelay", "chkActv"}) {
        Control<QWidget>(start).setEnabled(true);
        Control<QWidget>(start).setFocus();
        QStringList reached;
        for (int press = 0; press < 3; ++press) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_P, Qt::AltModifier);
            reached << QApplication::focusWidget()->objectName();
        }
        EXPECT_EQ(reached, QStringList({u"cmdPut"_s, u"cmdPerfchk"_s, u"cmdPut"_s})) << start; // as the guide says
    }
    EXPECT_EQ(Log(), QString());
}
