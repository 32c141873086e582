#include "core/automation/Errors.h"
#include "core/FieldCheck.h"
#include "tests/support/WindowTest.h"

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// A dialog with two pages, a checked field on the first one, and one control of each kind around it. The check
/// refuses "bad".
class Dialog : public QDialog
{
public:
    Dialog()
    {
        m_Tabs->addTab(m_Page, u"&General"_s);
        m_Tabs->addTab(new QLineEdit, u"&Details"_s);
        m_Field->setClearButtonEnabled(true);
        m_Label->setBuddy(m_Buddy);
        m_List->addItems({u"a"_s, u"b"_s});
        m_List->setFocusPolicy(Qt::WheelFocus);
        m_Small->setText(u"small"_s);
        m_Small->setFocusPolicy(Qt::NoFocus);
        m_Ok->setDefault(true);
        for (QAbstractButton* button : QList<QAbstractButton*>{m_Ok, m_Small, m_Cancel})
            connect(button, &QAbstractButton::clicked, this, [this, button] { m_Done << button->text().remove(u'&'); });
        connect(m_Tabs, &QTabWidget::currentChanged, this, [this] { m_Done << u"page"_s; });
        connect(m_List, &QComboBox::currentIndexChanged, this, [this] { m_Done << u"list"_s; });
        connect(this, &QDialog::rejected, this, [this] { m_Done << u"rejected"_s; });
        m_FieldCheck.Add(m_Field, [this] { return Check(); });
        m_FieldCheck.Exempt(m_Cancel);
    }

    /// Shows the dialog with the caret in the checked field.
    void Begin(const QString& text)
    {
        show();
        activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(this));
        m_Tabs->setCurrentIndex(0);
        m_Field->setText(text);
        m_Field->setFocus();
        m_Done.clear();
    }

    std::string Done() const { return m_Done.join(u' ').toStdString(); }
    /// The refused field has the focus, its whole text selected, maybe after a message box has gone.
    bool IsKept() const
    {
        return QTest::qWaitFor([this] {
            return m_Field->hasFocus() && m_Field->selectedText() == m_Field->text() && m_Tabs->currentIndex() == 0;
        });
    }

    QTabWidget* m_Tabs = new QTabWidget(this);
    QWidget* m_Page = new QWidget(m_Tabs);
    QLineEdit* m_Field = new QLineEdit(m_Page);
    QLabel* m_Label = new QLabel(u"&Buddy"_s, m_Page);
    QLineEdit* m_Buddy = new QLineEdit(m_Page);
    QComboBox* m_List = new QComboBox(m_Page);
    QToolButton* m_Small = new QToolButton(m_Page);
    QPushButton* m_Ok = new QPushButton(u"&ok"_s, this);
    QPushButton* m_Cancel = new QPushButton(u"&cancel"_s, this);
    FieldCheck m_FieldCheck{this};
    QStringList m_Done;
    bool m_ShowBox = false;

private:
    bool Check()
    {
        m_Done << u"check"_s;
        if (m_ShowBox) {
            QMessageBox box(QMessageBox::Warning, {}, u"no"_s, QMessageBox::Ok, this);
            QTimer::singleShot(10, &box, &QMessageBox::accept);
            box.exec();
            QTimer::singleShot(0, this, [this] { activateWindow(); }); // as a window manager does; here there is none
        }
        return m_Field->text() != u"bad";
    }
};

void ClickTab(Dialog& dialog, int tab)
{
    QTabBar* tabs = dialog.m_Tabs->tabBar();
    QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(tab).center());
}

void PressAlt(Dialog& dialog, Qt::Key letter)
{
    QTest::keyClick(QApplication::focusWidget(), letter, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !dialog.m_Ok->isDown() && !dialog.m_Cancel->isDown(); }));
}

void PressEnter(Dialog& dialog, QPushButton* defaultButton)
{
    defaultButton->setDefault(true);
    QTest::keyClick(dialog.m_Field, Qt::Key_Return);
}

struct Action
{
    const char* Name;
    void (*Run)(Dialog&);
    const char* Done; ///< in order, when nothing is refused
};

/// These lead out of the field, or away from the exempt control that it was left for.
const Action WaysOut[] = {
    {"tab", [](Dialog&) { QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab); }, "check"},
    {"click on a field", [](Dialog& d) { QTest::mouseClick(d.m_Buddy, Qt::LeftButton); }, "check"},
    {"click on a button", [](Dialog& d) { QTest::mouseClick(d.m_Ok, Qt::LeftButton); }, "check ok"},
    {"button without focus", [](Dialog& d) { QTest::mouseClick(d.m_Small, Qt::LeftButton); }, "check small"},
    {"click on a tab", [](Dialog& d) { ClickTab(d, 1); }, "check page"},
    {"wheel over the tabs", [](Dialog& d) { TurnWheel(*d.m_Tabs->tabBar()); }, "check page"},
    {"wheel over a list", [](Dialog& d) { TurnWheel(*d.m_List); }, "check list"},
    {"access key of a button", [](Dialog& d) { PressAlt(d, Qt::Key_O); }, "check ok"},
    {"access key of a label", [](Dialog& d) { PressAlt(d, Qt::Key_B); }, "check"},
    {"access key of a tab", [](Dialog& d) { PressAlt(d, Qt::Key_D); }, "check page"},
};

const Action KeysOfTheField[] = {
    {"shift+tab", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Backtab, Qt::ShiftModifier); }, "check"},
    {"ctrl+tab", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Tab, Qt::ControlModifier); }, "check page"},
    {"enter", [](Dialog& d) { PressEnter(d, d.m_Ok); }, "check ok"},
    {"keypad enter", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Enter, Qt::KeypadModifier); }, "check ok"},
};

const Action OtherActions[] = {
    {"click on cancel", [](Dialog& d) { QTest::mouseClick(d.m_Cancel, Qt::LeftButton); }, "cancel"},
    {"access key of cancel", [](Dialog& d) { PressAlt(d, Qt::Key_C); }, "cancel"},
    {"tab to cancel", [](Dialog& d) { d.m_Cancel->setFocus(Qt::TabFocusReason); }, ""},
    {"enter for cancel", [](Dialog& d) { PressEnter(d, d.m_Cancel); }, "cancel"},
    {"escape", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Escape); }, "rejected"},
    {"close by the frame", [](Dialog& d) { d.close(); }, "rejected"},
    {"disable the field", [](Dialog& d) { d.m_Field->setEnabled(false); }, ""},
    {"disable its page", [](Dialog& d) { d.m_Tabs->setEnabled(false); }, ""},
    {"own clear button", [](Dialog& d) { QTest::mouseClick(d.m_Field->findChild<QToolButton*>(), Qt::LeftButton); },
     ""},
    {"click on a label", [](Dialog& d) { QTest::mouseClick(d.m_Label, Qt::LeftButton); }, ""},
    {"tab already shown", [](Dialog& d) { ClickTab(d, 0); }, ""},
    {"focus by code", [](Dialog& d) { d.m_Buddy->setFocus(); }, ""},
    {"focus by a pop-up", [](Dialog& d) { d.m_Buddy->setFocus(Qt::PopupFocusReason); }, ""},
    {"focus by another window", [](Dialog& d) { d.m_Buddy->setFocus(Qt::ActiveWindowFocusReason); }, ""},
};

/// Twice with a refused text, then with an accepted one.
void ExpectVeto(const Action& action, bool showBox, bool startAtCancel)
{
    SCOPED_TRACE(action.Name);
    Dialog dialog;
    dialog.m_ShowBox = showBox;
    dialog.Begin(u"bad"_s);
    for (const char* done : {"check", "check check"}) {
        if (startAtCancel) dialog.m_Cancel->setFocus(Qt::TabFocusReason);
        action.Run(dialog);
        EXPECT_TRUE(dialog.IsKept());
        EXPECT_EQ(dialog.Done(), done);
    }
    dialog.Begin(u"good"_s);
    action.Run(dialog);
    EXPECT_EQ(dialog.Done(), action.Done);
}

using FieldChecks = WindowTest<QWidget>;

} // namespace

TEST(FieldCheck, VetoesEveryWayOutOfARefusedField)
{
    for (const bool showBox : {false, true}) {
        for (const Action& action : WaysOut) ExpectVeto(action, showBox, false);
        for (const Action& action : KeysOfTheField) ExpectVeto(action, showBox, false);
    }
}

TEST(FieldCheck, AFieldLeftForAnExemptControlIsCheckedOnTheWayOn)
{
    for (const Action& action : WaysOut) ExpectVeto(action, false, true);
}

TEST(FieldCheck, LeavesEverythingElseAlone)
{
    for (const Action& action : OtherActions) {
        SCOPED_TRACE(action.Name);
        Dialog dialog;
        dialog.Begin(u"bad"_s);
        action.Run(dialog);
        QTest::qWait(1);
        EXPECT_EQ(dialog.Done(), action.Done);
    }
}

TEST(FieldCheck, AClickAfterARefusedOneIsNotLost)
{
    Dialog dialog;
    dialog.Begin(u"bad"_s);
    QTest::mouseClick(dialog.m_Ok, Qt::LeftButton);
    dialog.m_Field->setText(u"good"_s);
    QTest::mouseClick(dialog.m_Ok, Qt::LeftButton);
    EXPECT_EQ(dialog.Done(), "check check ok");

    dialog.Begin(u"bad"_s);
    dialog.m_Buddy->setFocus(Qt::MouseFocusReason); // no press follows
    QTest::qWait(1);
    QTest::mouseClick(dialog.m_Cancel, Qt::LeftButton);
    EXPECT_EQ(dialog.Done(), "check cancel");
}

TEST_F(FieldChecks, ThatFailAreLoggedAndRefuse)
{
    Dialog dialog;
    dialog.m_FieldCheck.Add(dialog.m_Field, []() -> bool { throw ValueError::Overflow(); });
    dialog.Begin(u"1"_s);
    QTest::mouseClick(dialog.m_Ok, Qt::LeftButton);
    EXPECT_TRUE(dialog.IsKept());
    EXPECT_EQ(dialog.Done(), "");
    EXPECT_EQ(TakeLog(), QStringList{u"Overflow"_s});
}
