#include "core/LabelPane.h"
#include "mainwindow/DragBar.h"
#include "tests/mainwindow/Console.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

/// A child window with text boxes and a button whose access key the menu bar has too.
struct Form : ChildWindow
{
    Form()
    {
        auto* layout = new QVBoxLayout(this);
        for (QWidget* control : QWidgetList{m_Text, m_Label, m_Buddy, m_Edit}) layout->addWidget(control);
        m_Label->setBuddy(m_Buddy);
        m_Edit->setCheckable(true); // shows the click
    }

    QLineEdit* m_Text = new QLineEdit(u"some text"_s);
    QLabel* m_Label = new QLabel(u"&Value :"_s);
    QLineEdit* m_Buddy = new QLineEdit;
    QPushButton* m_Edit = new QPushButton(u"&Execute"_s);
};

class Editing : public Console
{
protected:
    void SetUp() override
    {
        StartActive();
        m_Form = ChildWindow::Open<Form>({});
        m_Form->ShowForm();
        m_Text = m_Form->m_Text;
        m_Text->setFocus();
    }

    /// What is enabled of Cut, Copy and Paste, in menu and toolbar alike, after the check that comes ten times a
    /// second.
    QString Enabled()
    {
        QTest::qWait(110);
        QCoreApplication::processEvents(); // on a busy machine the wait may end without having looked once more
        const bool cut = IsEnabled("btnCut"), copy = IsEnabled("btnCopy"), paste = IsEnabled("btnPaste");
        EXPECT_TRUE(IsEnabled("mnuEdit_4") == cut && IsEnabled("mnuEdit_5") == copy && IsEnabled("mnuEdit_6") == paste);
        return QString(cut ? u"Cut "_s : u""_s) + (copy ? u"Copy "_s : u""_s) + (paste ? u"Paste"_s : u""_s);
    }
    /// Presses a key where the focus is; where it is then.
    static QWidget* Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
        return QApplication::focusWidget();
    }
    static QString Clipboard() { return QApplication::clipboard()->text(); }

    Form* m_Form = nullptr;
    QLineEdit* m_Text = nullptr;
};

} // namespace

TEST_F(Editing, CommandsFollowTheTextBoxThatHasTheFocus)
{
    m_Text->selectAll();
    m_Text->setReadOnly(true);
    EXPECT_EQ(Enabled(), u"Copy "_s);
    m_Form->Unload();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(Enabled(), QString());
    modMain::AddLog(u"line"_s);
    Trigger("mnuEdit_2");
    EXPECT_EQ(Log(), QString());
}

TEST_F(Editing, SelectionAndCaretSurviveWhereverTheOperatorGoesToUseThem)
{
    m_Text->selectAll();
    Tree().setFocus();
    m_Form->m_Buddy->setFocus();
    EXPECT_FALSE(m_Text->hasSelectedText()) << "a selection stays only where commands would use it";

    DoubleClick(u"VelSQLEngine"_s);
    QLineEdit tool(u"script"_s); // a window beside the main window is not edited from its menus
    auto& label = Control<LabelPane>("lblResult");
    label.SetText(u"a result"_s);
    const std::function<void()> waysToLeave[] = {
        [this] { Tree().setFocus(); },
        [this] { m_Form->m_Edit->setFocus(); },
        [&] { label.setFocus(), label.selectAll(); },
        [this] {
            Press(Qt::Key_T, Qt::AltModifier); // a menu that no control of the child has
            EXPECT_EQ(TakePopup(), u"mnuTool"_s);
            Press(Qt::Key_Escape);
        },
        [this] {
            QTest::mouseClick(Control<QToolBar>("tlbar").widgetForAction(&Control<QAction>("btnCopy")), Qt::LeftButton);
        },
        [&] {
            tool.show();
            tool.activateWindow();
            ASSERT_TRUE(QTest::qWaitForWindowActive(&tool));
            tool.selectAll();
        },
    };
    for (const auto& leave : waysToLeave) {
        for (const int caret : {5, 9}) { // selected from right to left, and from left to right
            m_Main->activateWindow();
            m_Text->setText(u"some text"_s);
            m_Text->setFocus();
            m_Text->setSelection(14 - caret, 2 * (caret - 7));
            EXPECT_EQ(Enabled(), u"Cut Copy Paste"_s);
            leave();
            EXPECT_EQ(m_Text->cursorPosition(), caret);
        }
        EXPECT_EQ(Enabled(), u"Cut Copy Paste"_s);
        Trigger("mnuEdit_4");
        EXPECT_EQ(m_Text->text() + u'|' + tool.text() + u'|' + Clipboard(), u"some |script|text"_s);
    }
    Trigger("btnPaste");
    EXPECT_EQ(m_Text->text(), u"some text"_s);
}

TEST_F(Editing, WhatIsPastedIntoASingleLineEndsAtItsFirstLineEnd)
{
    const std::function<void()> waysToPaste[] = {
        [] { Press(Qt::Key_V, Qt::ControlModifier); },
        [this] { Trigger("mnuEdit_6"); },
        [this] {
            QContextMenuEvent asked(QContextMenuEvent::Mouse, {}, {});
            QApplication::sendEvent(m_Text, &asked);
            const QWidget* menu = QApplication::activePopupWidget();
            ASSERT_TRUE(menu);
            for (QAction* entry : menu->actions())
                if (entry->text().startsWith(u"&Paste")) entry->trigger();
            TakePopup();
        },
    };
    QApplication::clipboard()->setText(u"a b\r\nc"_s);
    EXPECT_EQ(Enabled(), u"Paste"_s);
    for (const auto& paste : waysToPaste) {
        m_Text->setText(u"some text"_s);
        m_Text->setSelection(5, 4);
        paste();
        EXPECT_EQ(m_Text->text(), u"some a b"_s);
    }
}

TEST_F(Editing, TheLogHasItsOwnPopup)
{
    modMain::AddLog(u"line"_s);
    for (const QString& enabled : {u"24"_s, u"0124"_s}) {
        QTest::mouseClick(LogBox().viewport(), Qt::RightButton, {}, {5, 5});
        EXPECT_EQ(TakePopup(), u"mnuPopupLog"_s);
        QString entries;
        for (const QString& entry : {u"0"_s, u"1"_s, u"2"_s, u"4"_s})
            if (Control<QAction>(u"mnuPopupLog_"_s + entry).isEnabled()) entries += entry;
        EXPECT_EQ(entries, enabled);
        EXPECT_TRUE(modMain::ActiveEditBox == &LogBox() && LogBox().hasFocus());
        LogBox().selectAll();
    }
    for (const auto& [entry, log] :
         {std::pair{"mnuPopupLog_0", u""_s}, {"mnuPopupLog_2", u"0 : line\r\n"_s}, {"mnuPopupLog_4", u""_s}}) {
        Trigger(entry);
        EXPECT_EQ(Log(), log);
    }
}

TEST_F(Editing, TheActiveChildsAccessKeyWinsOverTheMenuBars)
{
    QTest::keyClick(m_Text, Qt::Key_E, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Form->m_Edit->isChecked(); }));
    QTest::keyClick(m_Text, Qt::Key_V, Qt::AltModifier);
    EXPECT_TRUE(m_Form->m_Buddy->hasFocus()) << "a label's letter counts as well";
    m_Form->m_Edit->setEnabled(false);
    Press(Qt::Key_E, Qt::AltModifier);
    EXPECT_EQ(TakePopup(), QString()) << "a key too many does nothing";
    m_Form->m_Edit->setEnabled(true);
    Tree().setFocus();
    Press(Qt::Key_E, Qt::AltModifier);
    EXPECT_EQ(TakePopup(), u"mnuEdit"_s);
    EXPECT_TRUE(m_Form->m_Edit->isChecked() && Control<QMenuBar>("mnuBar").isEnabled());
}

TEST_F(Editing, KeysTakeTheFocusFromPaneToPane)
{
    EXPECT_EQ(Press(Qt::Key_F6), &LogBox());
    EXPECT_EQ(Press(Qt::Key_F6), &Tree());
    EXPECT_EQ(Press(Qt::Key_F6), m_Text);
    EXPECT_EQ(Press(Qt::Key_F6, Qt::ShiftModifier), &Tree());
    EXPECT_EQ(Press(Qt::Key_Tab), &Control<DragBar>("picVBar"));
    EXPECT_EQ(Press(Qt::Key_Tab), &Control<DragBar>("picHBar"));
    EXPECT_EQ(Press(Qt::Key_Tab), &LogBox());
    EXPECT_NE(Press(Qt::Key_Tab), &LogBox());
    EXPECT_EQ(Log(), QString()) << "the key enters no text";
    m_Text->setFocus();
    m_Form->HideForm();
    EXPECT_TRUE(QTest::qWaitFor([this] { return Tree().hasFocus(); })) << "the last window is gone";
    LogBox().setFocus();
    Trigger("mnuView_2");
    EXPECT_EQ(Press(Qt::Key_F6), &LogBox()) << "no other pane is left";
}

TEST_F(Editing, ControlsOutOfSightAreScrolledTo)
{
    m_Main->resize(900, 400);
    m_Form->parentWidget()->setGeometry(0, 0, 300, 600);
    QWidget* viewport = m_Main->ChildArea().viewport();
    QCoreApplication::processEvents(); // the area learns what it holds
    for (QWidget* control : QWidgetList{m_Form->m_Edit, m_Text}) {
        const auto isInSight = [&] {
            return viewport->rect().contains({control->mapTo(viewport, QPoint()), control->size()});
        };
        EXPECT_FALSE(isInSight());
        control->setFocus();
        EXPECT_TRUE(isInSight());
    }
}

TEST_F(Console, PanesComeAndGoAndBarsAreDraggedWithinTheirLimits)
{
    StartActive();
    const std::pair<const char*, QString> steps[] = {
        {"mnuView_2", u"mdiChildren picHBar lblLog txtLog"_s},
        {"mnuView_3", u"mdiChildren"_s},
        {"mnuView_2", u"lblObject treeObject picVBar mdiChildren"_s},
        {"mnuView_3", u"lblObject treeObject picVBar mdiChildren picHBar lblLog txtLog"_s},
    };
    for (const auto& [entry, expected] : steps) {
        Trigger(entry);
        QStringList visible = steps[3].second.split(u' ');
        visible.removeIf([this](const QString& name) { return !Control<QWidget>(name).isVisible(); });
        EXPECT_EQ(visible.join(u' '), expected);
        EXPECT_EQ(m_Main->ChildArea().size() == Control<QWidget>("picFrame").size(), visible.size() == 1);
    }
    const auto drag = [](DragBar& bar, const QPoint& to) { return Drag(bar, {1, 1}, to), bar.pos(); };
    auto& bar = Control<DragBar>("picHBar");
    const int top = bar.y();
    EXPECT_EQ(drag(bar, {0, -40}).y(), top - 40);
    EXPECT_EQ(m_Main->ChildArea().height(), top - 40);
    EXPECT_NEAR(drag(bar, {0, -5000}).y(), 262 * bar.fontMetrics().height() / 255.0,
                1); // 262 twips, of which a row has 255
    EXPECT_EQ(drag(bar, {0, 50000}).y() + bar.height(), Control<QWidget>("picFrame").height());
    auto& upright = Control<DragBar>("picVBar");
    EXPECT_EQ(drag(upright, {-5000, 0}).x(), 0);
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Left, Qt::Key_Up, Qt::Key_Down})
        QTest::keyClick(&upright, key);
    EXPECT_EQ(upright.x(), upright.fontMetrics().height()) << "the keyboard moves it by rows";
    const int bottom = bar.y();
    QTest::keyClick(&bar, Qt::Key_Up);
    EXPECT_NEAR(bar.y(), bottom - bar.fontMetrics().height(), 1);
}
