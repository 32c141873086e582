#include "guide/Guide.h"
#include "guide/PageView.h"
#include "tests/support/ConsoleTest.h"

#include <QApplication>
#include <QLabel>
#include <QTemporaryDir>

namespace {

/// The guide of a folder of two pages; the desktop has no browser.
class GuideTest : public ConsoleTest
{
protected:
    GuideTest()
    {
        m_HasBrowser = false;
        Write(u"one.html"_s, "<title>One</title><p>first</p><p>wire</p><p>wire</p>");
        Write(u"two.html"_s, "<title>Two</title><p>second</p>");
    }

    void Write(const QString& page, const QByteArray& content)
    {
        QFile file(GuideFolder() + u'/' + page);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(content);
    }
    QString GuideFolder() override { return m_Folder.path(); }
    /// The window where there is one, as long as it is open.
    QWidget* Window() override
    {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget->objectName() == u"frmGuide" && widget->isVisible()) return widget;
        return nullptr;
    }
    PageView& View() { return Control<PageView>("txtPage"); }
    QString Title() { return Window()->windowTitle(); }
    QString Status() { return Control<QLabel>("lblStatus").text(); }
    /// Follows a link as a click on it does.
    void Follow(const QString& link) { View().setSource(QUrl(link)); }
    void Key(int key, Qt::KeyboardModifiers modifiers = {})
    {
        ASSERT_TRUE(QTest::qWaitForWindowActive(Window()));
        QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key), modifiers);
    }
    int Selected() { return View().textCursor().selectionStart(); }

    QTemporaryDir m_Folder;
    Guide m_Guide{*this};
};

} // namespace

TEST_F(GuideTest, OpensInTheBrowserElseInAWindowThatThenGoesOn)
{
    m_HasBrowser = true;
    m_Guide.Open(u"one.html"_s);
    EXPECT_EQ(m_Browsed, QStringList(u"one.html"_s));
    EXPECT_FALSE(Window());
    m_HasBrowser = false;
    m_Guide.Open(u"one.html"_s);
    ASSERT_TRUE(Window());
    EXPECT_EQ(Title(), u"One - Guide"_s);
    m_HasBrowser = true;
    m_Guide.Open(u"two.html"_s);
    EXPECT_EQ(Title(), u"Two - Guide"_s);
    Key(Qt::Key_Escape);
    EXPECT_FALSE(Window());
    m_Guide.Open(u"two.html"_s);
    EXPECT_EQ(m_Browsed, QStringList({u"one.html"_s, u"two.html"_s}));
}

TEST_F(GuideTest, AMissingPageIsSaidWhereItWouldBeShown)
{
    m_HasBrowser = true;
    m_Guide.Open(u"three.html"_s);
    EXPECT_EQ(m_Browsed, QStringList());
    ASSERT_TRUE(Window());
    EXPECT_EQ(Title(), u"Page not found - Guide"_s);
    EXPECT_TRUE(View().toPlainText().contains(m_Folder.filePath(u"three.html"_s)))
        << View().toPlainText().toStdString();
}

TEST_F(GuideTest, LinksAreFollowedInsideTheGuideOnlyAndBackAgain)
{
    m_Guide.Open(u"one.html"_s);
    EXPECT_FALSE(IsEnabled("cmdBack") || IsEnabled("cmdForward"));
    Follow(u"two.html"_s);
    EXPECT_EQ(Title(), u"Two - Guide"_s);
    Key(Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(Title(), u"One - Guide"_s);
    Key(Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(Title(), u"Two - Guide"_s);
    for (const QString& link : {u"https://velsql.example/"_s, u"../secret.html"_s, u"file:///etc/hostname"_s}) {
        Follow(link);
        EXPECT_EQ(Title(), u"Two - Guide"_s) << link.toStdString();
        EXPECT_TRUE(Status().startsWith(u"Not a page of the guide: "_s)) << Status().toStdString();
    }
    Press("cmdBack");
    EXPECT_EQ(Title() + Status(), u"One - Guide"_s);
}

TEST_F(GuideTest, FindsATextAgainAndAgain)
{
    m_Guide.Open(u"one.html"_s);
    Key(Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(&Box("txtFind"), u"wire"_s);
    const int first = Selected();
    Key(Qt::Key_F3);
    EXPECT_GT(Selected(), first);
    Key(Qt::Key_F3);
    EXPECT_EQ(Selected(), first);
    EXPECT_EQ(Control<QLabel>("lblFound").text(), u"Went on from the start."_s);
    Key(Qt::Key_Escape);
    EXPECT_TRUE(Window() && View().hasFocus()); // only the search was closed
}
