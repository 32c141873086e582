#include "core/LogPane.h"
#include "core/modMain.h"
#include "tests/mainwindow/Console.h"

#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

/// A child window with a text box, a button whose access key the menu bar has too, and one that it has not.
class Form : public ChildWindow
{
public:
    Form()
    {
        auto* layout = new QVBoxLayout(this);
        for (QWidget* control : std::initializer_list<QWidget*>{m_Text, m_Combo, m_Label, m_Buddy, m_Edit}) {
            layout->addWidget(control);
        }
        m_Combo->setEditable(true);
        m_Label->setBuddy(m_Buddy);
        connect(m_Edit, &QPushButton::clicked, this, [this] { ++m_Clicks; });
    }

    QLineEdit* m_Text = new QLineEdit(u"some text"_s);
    QComboBox* m_Combo = new QComboBox;
    QLabel* m_Label = new QLabel(u"&Value :"_s);
    QLineEdit* m_Buddy = new QLineEdit;
    QPushButton* m_Edit = new QPushButton(u"&Execute"_s);
    int m_Clicks = 0;
};

class Editing : public Console
{
protected:
    void SetUp() override
    {
        StartActive();
        m_Form = ChildWindow::Open<Form>({});
        m_Form->ShowForm();
        QApplication::clipboard()->setText(u"clip"_s);
    }

    /// What is enabled of Cut, Copy and Paste, in menu and toolbar alike, after the next check.
    QString Enabled()
    {
        WaitForCheck();
        QStringList names;
        const std::pair<const char*, const char*> pairs[] = {
            {"mnuEdit_4", "btnCut"}, {"mnuEdit_5", "btnCopy"}, {"mnuEdit_6", "btnPaste"}};
        for (const auto& [entry, button] : pairs) {
            EXPECT_EQ(IsEnabled(entry), IsEnabled(button)) << entry;
            if (IsEnabled(button)) names << QString::fromLatin1(button);
        }
        return names.join(u' ');
    }

    LogPane& LogBox() { return Control<LogPane>("txtLog"); }
    void RightClickLog() { QTest::mouseClick(LogBox().viewport(), Qt::RightButton, {}, {5, 5}); }

    Form* m_Form = nullptr;
};

} // namespace

TEST_F(Editing, CommandsFollowTheTextBoxThatHasTheFocus)
{
    m_Form->m_Text->setFocus();
    m_Form->m_Text->deselect();
    EXPECT_EQ(Enabled(), u"btnPaste"_s);
    m_Form->m_Text->selectAll();
    EXPECT_EQ(Enabled(), u"btnCut btnCopy btnPaste"_s);
    m_Form->m_Text->setReadOnly(true);
    EXPECT_EQ(Enabled(), u"btnCopy"_s);
    m_Form->m_Combo->setFocus();
    m_Form->m_Combo->lineEdit()->setText(u"list"_s);
    EXPECT_EQ(Enabled(), u"btnPaste"_s);
    EXPECT_EQ(modMain::ActiveEditBox, m_Form->m_Combo->lineEdit()); // the combo box keeps the focus for its editor
    m_Form->Unload();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(Enabled(), QString());
}

TEST_F(Editing, AToolBesideTheMainWindowIsNotEditedFromItsMenus)
{
    QLineEdit* box = m_Form->m_Text;
    box->setFocus();
    box->setSelection(0, 4);
    WaitForCheck();
    QLineEdit tool(u"script"_s);
    tool.show();
    tool.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&tool));
    tool.setFocus();
    tool.selectAll();
    EXPECT_EQ(Enabled(), u"btnCut btnCopy btnPaste"_s);
    Trigger("mnuEdit_4");
    EXPECT_EQ(tool.text() + u'|' + box->text(), u"script| text"_s);
}

TEST_F(Editing, TheSelectionSurvivesMenusButtonsAndGrids)
{
    QLineEdit* box = m_Form->m_Text;
    const auto cutAfter = [&](const std::function<void()>& leave) {
        box->setText(u"some text"_s);
        box->setFocus();
        box->setSelection(5, 4);
        WaitForCheck();
        leave();
        EXPECT_EQ(Enabled(), u"btnCut btnCopy btnPaste"_s);
        Trigger("mnuEdit_4");
        EXPECT_EQ(box->text(), u"some "_s);
        EXPECT_EQ(QApplication::clipboard()->text(), u"text"_s);
    };
    cutAfter([&] { Tree().setFocus(); });
    cutAfter([&] { m_Form->m_Edit->setFocus(); });
    cutAfter([&] {
        QTest::keyClick(box, Qt::Key_T, Qt::AltModifier); // a menu that no control of the child has
        EXPECT_EQ(TakePopup(), u"mnuTool"_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    });
    cutAfter([&] {
        const auto& bar = Control<QToolBar>("tlbar");
        QTest::mouseClick(bar.widgetForAction(bar.actions().at(3)), Qt::LeftButton);
    });

    box->setText(u"some text"_s);
    box->setFocus();
    box->selectAll();
    Tree().setFocus();
    m_Form->m_Buddy->setFocus();
    EXPECT_FALSE(box->hasSelectedText()) << "a selection stays only where commands would use it";
}

TEST_F(Editing, EditCommandsWorkOnAnyTextBox)
{
    m_Form->m_Text->setFocus();
    m_Form->m_Text->setSelection(0, 4);
    Enabled();
    Trigger("btnCopy");
    EXPECT_EQ(QApplication::clipboard()->text(), u"some"_s);
    m_Form->m_Text->setCursorPosition(9);
    Trigger("btnPaste");
    EXPECT_EQ(m_Form->m_Text->text(), u"some textsome"_s);
    modMain::AddLog(u"line"_s);
    Trigger("mnuEdit_2");
    EXPECT_EQ(Log(), QString());
    modMain::AddLog(u"line"_s);
    EXPECT_EQ(Log(), u"1 : line\r\n"_s); // numbering goes on
}

TEST_F(Editing, TheLogHasItsOwnPopup)
{
    const auto enabled = [&] {
        QStringList entries;
        for (const char* entry : {"mnuPopupLog_0", "mnuPopupLog_1", "mnuPopupLog_2", "mnuPopupLog_4"}) {
            if (IsEnabled(entry)) entries << QString::fromLatin1(entry).right(1);
        }
        return entries.join(u' ');
    };
    modMain::AddLog(u"line"_s);
    m_Form->m_Text->setFocus();
    RightClickLog();
    EXPECT_EQ(TakePopup(), u"mnuPopupLog"_s);
    EXPECT_EQ(modMain::ActiveEditBox, &LogBox());
    EXPECT_TRUE(LogBox().hasFocus());
    EXPECT_EQ(enabled(), u"2 4"_s);

    LogBox().selectAll();
    RightClickLog();
    EXPECT_EQ(TakePopup(), u"mnuPopupLog"_s);
    EXPECT_EQ(enabled(), u"0 1 2 4"_s);
    Trigger("mnuPopupLog_0");
    EXPECT_EQ(Log(), QString());
    EXPECT_EQ(QApplication::clipboard()->text(QClipboard::Clipboard).count(u"line"_s), 1);
    Trigger("mnuPopupLog_2");
    EXPECT_EQ(Log(), u"0 : line\r\n"_s);

    LogBox().setReadOnly(true);
    LogBox().selectAll();
    RightClickLog();
    TakePopup();
    EXPECT_EQ(enabled(), u"1 4"_s);
    Trigger("mnuPopupLog_4");
    EXPECT_EQ(Log(), QString());
}

TEST_F(Editing, TheActiveChildsAccessKeyWinsOverTheMenuBars)
{
    m_Form->m_Text->setFocus();
    for (int press = 1; press <= 2; ++press) {
        QTest::keyClick(m_Form->m_Text, Qt::Key_E, Qt::AltModifier);
        EXPECT_TRUE(QTest::qWaitFor([&] { return m_Form->m_Clicks == press; }));
        EXPECT_EQ(TakePopup(), QString());
    }
    QTest::keyClick(m_Form->m_Text, Qt::Key_V, Qt::AltModifier);
    EXPECT_TRUE(m_Form->m_Buddy->hasFocus()); // a label's letter counts as well
    EXPECT_EQ(TakePopup(), QString());

    m_Form->m_Edit->setEnabled(false);
    QTest::keyClick(m_Form->m_Buddy, Qt::Key_E, Qt::AltModifier);
    EXPECT_EQ(TakePopup(), u"mnuEdit"_s);
    m_Form->m_Edit->setEnabled(true);
    Tree().setFocus();
    QTest::keyClick(&Tree(), Qt::Key_E, Qt::AltModifier);
    EXPECT_EQ(TakePopup(), u"mnuEdit"_s);
    EXPECT_EQ(m_Form->m_Clicks, 2);
    EXPECT_TRUE(Control<QMenuBar>("mnuBar").isEnabled());
}

TEST_F(Editing, KeysTakeTheFocusFromPaneToPane)
{
    const auto press = [](Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
        return QApplication::focusWidget();
    };
    m_Form->m_Edit->setFocus();
    EXPECT_EQ(press(Qt::Key_F6), &LogBox());
    EXPECT_EQ(press(Qt::Key_F6), &Tree());
    EXPECT_EQ(press(Qt::Key_F6), m_Form->m_Edit);
    EXPECT_EQ(press(Qt::Key_F6, Qt::ShiftModifier), &Tree());
    EXPECT_EQ(press(Qt::Key_Tab), &LogBox());
    EXPECT_NE(press(Qt::Key_Tab), &LogBox());
    EXPECT_EQ(Log(), QString()); // the key is no text
    m_Form->m_Edit->setFocus();
    m_Form->HideForm();
    EXPECT_TRUE(QTest::qWaitFor([this] { return Tree().hasFocus(); })) << "the last window is gone";
    LogBox().setFocus();
    Trigger("mnuView_2");
    EXPECT_EQ(press(Qt::Key_F6), &LogBox()) << "there is no other pane";
}

TEST_F(Editing, ControlsOutOfSightAreScrolledTo)
{
    m_Main->resize(900, 400);
    m_Form->parentWidget()->setGeometry(0, 0, 300, 600);
    QWidget* viewport = m_Main->ChildArea().viewport();
    const auto isInSight = [&](QWidget* control) {
        return viewport->rect().contains({control->mapTo(viewport, QPoint()), control->size()});
    };
    m_Form->m_Text->setFocus();
    QCoreApplication::processEvents(); // the area learns what it holds
    ASSERT_FALSE(isInSight(m_Form->m_Edit));
    m_Form->m_Edit->setFocus();
    EXPECT_TRUE(isInSight(m_Form->m_Edit));
    m_Form->m_Text->setFocus();
    EXPECT_TRUE(isInSight(m_Form->m_Text));
}
