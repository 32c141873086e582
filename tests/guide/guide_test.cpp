#include "guide/Guide.h"
#include "guide/PageView.h"
#include "tests/support/ConsoleTest.h"

#include <QApplication>
#include <QLabel>

namespace {

class GuideTest : public ConsoleTest
{
protected:
    /// The guide's window while it is open.
    QWidget* Window() override
    {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget->objectName() == u"frmGuide" && widget->isVisible()) return widget;
        return nullptr;
    }
    QString Title() { return Window() ? Window()->windowTitle() : QString(); }
    PageView& View() { return Control<PageView>("txtPage"); }
    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        ASSERT_TRUE(QTest::qWaitForWindowActive(Window()));
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }

    Guide m_Guide{*this};
    const QString m_Watch = u"guide/watch.html"_s;
    const QString m_Watching = u"Watching an object - Guide"_s;
};

} // namespace

TEST_F(GuideTest, OpensInTheBrowserElseInAWindowThatThenGoesOn)
{
    m_Guide.Open(m_Watch);
    EXPECT_EQ(m_Browsed + QStringList(Title()), QStringList({m_Watch, QString()}));
    m_HasBrowser = false;
    m_Guide.Open(m_Watch);
    m_HasBrowser = true;
    EXPECT_EQ(Title(), m_Watching);
    m_Guide.Open(u"guide/write.html"_s);
    EXPECT_EQ(Title(), u"Reading and writing values - Guide"_s);
    Key(Qt::Key_Escape);
    m_Guide.Open(m_Watch);
    EXPECT_EQ(m_Browsed + QStringList(Title()), QStringList({m_Watch, m_Watch, QString()}));
}

TEST_F(GuideTest, AMissingPageIsSaidWhereItWouldBeShown)
{
    m_Guide.Open(u"guide/<b>none.html"_s);
    EXPECT_EQ(m_Browsed + QStringList(Title()), QStringList(u"Page not found - Guide"_s));
    EXPECT_TRUE(View().toPlainText().contains(GuideFolder() + u"/guide/<b>none.html"_s));
}

TEST_F(GuideTest, LinksAreFollowedInsideTheGuideOnlyAndBackAgain)
{
    m_HasBrowser = false;
    m_Guide.Open(m_Watch);
    View().setSource(QUrl(u"measure.html"_s)); // as a click on a link does
    const QString measuring = Title();
    EXPECT_EQ(measuring, u"Measuring how fast the server is - Guide"_s);
    for (const QString& link : {u"https://velsql.example/"_s, u"../../secret.html"_s, u"file:///etc/hostname"_s}) {
        View().setSource(QUrl(link));
        EXPECT_EQ(Title(), measuring) << link.toStdString();
        EXPECT_TRUE(Control<QLabel>("lblStatus").text().startsWith(u"Not a page of the guide: "_s));
    }
    Key(Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(Title(), m_Watching);
    Key(Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(Title(), measuring);
}
