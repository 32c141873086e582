#include "tests/mainwindow/Console.h"

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
