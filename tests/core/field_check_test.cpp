#include "core/automation/Errors.h"
#include "core/FieldCheck.h"
#include "tests/support/FakeMainWindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// A dialog with two pages, a checked field on the first one, and one control of each kind around it. The check refuses "bad".
class Dialog : public QDialog
{
public:
    Dialog()
    {
        PlaceControls();
        const auto note = [this](const QString& what) { return [this, what] { m_Done << what; }; };
        connect(m_Ok, &QPushButton::clicked, this, note(u"ok"_s));
        connect(m_Small, &QToolButton::clicked, this, note(u"small"_s));
        connect(m_Tick, &QCheckBox::clicked, this, note(u"tick"_s));
        connect(m_Cancel, &QPushButton::clicked, this, note(u"cancel"_s));
        connect(m_Tabs, &QTabWidget::currentChanged, this, note(u"page"_s));
        connect(m_List, &QComboBox::currentIndexChanged, this, note(u"list"_s));
        connect(this, &QDialog::rejected, this, note(u"rejected"_s));
        m_FieldCheck.Add(m_Field, [this] { return RunCheck(); });
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
        ASSERT_TRUE(m_Field->hasFocus());
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

    QTabWidget* m_Tabs = new QTabWidget;
    QLineEdit* m_Field = new QLineEdit;
    QLabel* m_Label = new QLabel(u"&Buddy"_s);
    QLineEdit* m_Buddy = new QLineEdit;
    QCheckBox* m_Tick = new QCheckBox(u"&Tick"_s);
    QComboBox* m_List = new QComboBox;
    QToolButton* m_Small = new QToolButton;
    QPushButton* m_Ok = new QPushButton(u"&OK"_s);
    QPushButton* m_Cancel = new QPushButton(u"&Cancel"_s);
    FieldCheck m_FieldCheck{this};
    QStringList m_Done;
    bool m_ShowBox = false;

private:
    void PlaceControls()
    {
        auto* general = new QWidget;
        auto* page = new QVBoxLayout(general);
        for (QWidget* control : std::initializer_list<QWidget*>{m_Field, m_Label, m_Buddy, m_Tick, m_List, m_Small})
            page->addWidget(control);
        m_Tabs->addTab(general, u"&General"_s);
        m_Tabs->addTab(new QLineEdit, u"&Details"_s);
        auto* layout = new QVBoxLayout(this);
        for (QWidget* control : std::initializer_list<QWidget*>{m_Tabs, m_Ok, m_Cancel}) layout->addWidget(control);
        m_Field->setClearButtonEnabled(true);
        m_Label->setBuddy(m_Buddy);
        m_List->addItems({u"a"_s, u"b"_s});
        m_List->setFocusPolicy(Qt::WheelFocus);
        m_Small->setFocusPolicy(Qt::NoFocus);
        m_Ok->setDefault(true);
    }

    bool RunCheck()
    {
        m_Done << u"check"_s;
        if (m_ShowBox) {
            QMessageBox::warning(this, {}, u"no"_s);
            QTimer::singleShot(0, this, [this] { activateWindow(); }); // as a window manager does; here there is none
        }
        return m_Field->text() != u"bad";
    }
};

void ClickTab(Dialog& dialog)
{
    QTabBar* tabs = dialog.m_Tabs->tabBar();
    QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
}

void PressAlt(Dialog& dialog, Qt::Key letter)
{
    QTest::keyClick(QApplication::focusWidget(), letter, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return !dialog.m_Ok->isDown() && !dialog.m_Tick->isDown() && !dialog.m_Cancel->isDown(); }));
}

void TurnWheel(QWidget* control)
{
    const QPointF place = control->rect().center();
    QWheelEvent event(place, control->mapToGlobal(place), {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(control, &event); // sendEvent would mark it as sent by the program
}

/// Presses "OK" in every message box that comes up.
class BoxCloser : public QTimer
{
public:
    BoxCloser()
    {
        callOnTimeout([] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) box->accept();
        });
        start(10);
    }
};

struct Action
{
    const char* Name;
    void (*Run)(Dialog&);
    /// What happens in order, when the field holds a good text or no check is expected.
    const char* Done;
};

std::string TestName(const ::testing::TestParamInfo<Action>& info)
{
    return info.param.Name;
}

class LeavingAField : public ::testing::TestWithParam<Action>
{
};

const Action LeavingActions[] = {
    {"tab", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Tab); }, "check"},
    {"shift_tab", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Backtab, Qt::ShiftModifier); }, "check"},
    {"click_on_field", [](Dialog& d) { QTest::mouseClick(d.m_Buddy, Qt::LeftButton); }, "check"},
    {"right_click_on_field", [](Dialog& d) { QTest::mouseClick(d.m_Buddy, Qt::RightButton); }, "check"},
    {"click_on_button", [](Dialog& d) { QTest::mouseClick(d.m_Ok, Qt::LeftButton); }, "check ok"},
    {"click_on_check_box",
     [](Dialog& d) {
         QTest::mouseClick(d.m_Tick, Qt::LeftButton, {}, {8, d.m_Tick->height() / 2});
     },
     "check tick"},
    {"click_on_button_without_focus", [](Dialog& d) { QTest::mouseClick(d.m_Small, Qt::LeftButton); }, "check small"},
    {"click_on_tab", ClickTab, "check page"},
    {"wheel_over_tabs", [](Dialog& d) { TurnWheel(d.m_Tabs->tabBar()); }, "check page"},
    {"wheel_over_list", [](Dialog& d) { TurnWheel(d.m_List); }, "check list"},
    {"access_key_of_button", [](Dialog& d) { PressAlt(d, Qt::Key_O); }, "check ok"},
    {"access_key_of_check_box", [](Dialog& d) { PressAlt(d, Qt::Key_T); }, "check tick"},
    {"access_key_of_label", [](Dialog& d) { PressAlt(d, Qt::Key_B); }, "check"},
    {"access_key_of_tab", [](Dialog& d) { PressAlt(d, Qt::Key_D); }, "check page"},
    {"ctrl_tab", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Tab, Qt::ControlModifier); }, "check page"},
    {"enter", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Return); }, "check ok"},
    {"enter_on_keypad", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Enter, Qt::KeypadModifier); }, "check ok"},
};

class NotLeavingAField : public ::testing::TestWithParam<Action>
{
};

const Action OtherActions[] = {
    {"click_on_exempt", [](Dialog& d) { QTest::mouseClick(d.m_Cancel, Qt::LeftButton); }, "cancel"},
    {"access_key_of_exempt", [](Dialog& d) { PressAlt(d, Qt::Key_C); }, "cancel"},
    {"tab_to_exempt_then_space",
     [](Dialog& d) {
         QWidget::setTabOrder(d.m_Field, d.m_Cancel);
         QTest::keyClick(d.m_Field, Qt::Key_Tab);
         QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
     },
     "cancel"},
    {"escape", [](Dialog& d) { QTest::keyClick(d.m_Field, Qt::Key_Escape); }, "rejected"},
    {"close_by_frame", [](Dialog& d) { d.close(); }, "rejected"},
    {"hide", [](Dialog& d) { d.hide(); }, ""},
    {"disable", [](Dialog& d) { d.m_Field->setEnabled(false); }, ""},
    {"disable_page", [](Dialog& d) { d.m_Tabs->setEnabled(false); }, ""},
    {"hide_field", [](Dialog& d) { d.m_Field->hide(); }, ""},
    {"page_by_code", [](Dialog& d) { d.m_Tabs->setCurrentIndex(1); }, "page"},
    {"focus_by_code", [](Dialog& d) { d.m_Buddy->setFocus(); }, ""},
    {"own_clear_button", [](Dialog& d) { QTest::mouseClick(d.m_Field->findChild<QToolButton*>(), Qt::LeftButton); },
     ""},
    {"click_on_label", [](Dialog& d) { QTest::mouseClick(d.m_Label, Qt::LeftButton); }, ""},
    {"tab_already_shown",
     [](Dialog& d) {
         QTest::mouseClick(d.m_Tabs->tabBar(), Qt::LeftButton, {}, d.m_Tabs->tabBar()->tabRect(0).center());
     },
     ""},
    {"other_window",
     [](Dialog& d) {
         QLineEdit other;
         other.show();
         other.activateWindow();
         ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
         QTest::mouseClick(&other, Qt::LeftButton);
         other.hide();
         d.activateWindow();
         ASSERT_TRUE(QTest::qWaitFor([&] { return d.m_Field->hasFocus(); }));
     },
     ""},
    {"pop_up",
     [](Dialog& d) {
         QMenu menu;
         menu.addAction(u"entry"_s);
         menu.popup(d.mapToGlobal(QPoint(1, 1)));
         ASSERT_TRUE(QTest::qWaitForWindowExposed(&menu));
         QTest::keyClick(&menu, Qt::Key_Down);
         QTest::keyClick(&menu, Qt::Key_Return);
     },
     ""},
};

} // namespace

TEST_P(LeavingAField, is_vetoed_by_a_refused_field_and_else_goes_on)
{
    for (const bool showBox : {false, true}) {
        SCOPED_TRACE(showBox ? "with a message box" : "silently");
        const BoxCloser boxCloser;
        Dialog dialog;
        dialog.m_ShowBox = showBox;
        dialog.Begin(u"bad"_s);
        for (const char* done : {"check", "check check"}) {
            GetParam().Run(dialog);
            EXPECT_TRUE(dialog.IsKept());
            EXPECT_EQ(dialog.Done(), done);
        }
        dialog.Begin(u"good"_s);
        GetParam().Run(dialog);
        EXPECT_EQ(dialog.Done(), GetParam().Done);
    }
}

INSTANTIATE_TEST_SUITE_P(FieldCheck, LeavingAField, ::testing::ValuesIn(LeavingActions), TestName);

TEST_P(NotLeavingAField, runs_no_check)
{
    Dialog dialog;
    dialog.Begin(u"bad"_s);
    GetParam().Run(dialog);
    QTest::qWait(1);
    EXPECT_EQ(dialog.Done(), GetParam().Done);
}

INSTANTIATE_TEST_SUITE_P(FieldCheck, NotLeavingAField, ::testing::ValuesIn(OtherActions), TestName);

TEST(FieldCheck, a_field_left_for_an_exempt_control_is_checked_on_the_way_on)
{
    const std::function<void(Dialog&)> waysOn[] = {
        [](Dialog& d) { QTest::keyClick(d.m_Cancel, Qt::Key_Backtab, Qt::ShiftModifier); },
        [](Dialog& d) { QTest::mouseClick(d.m_Ok, Qt::LeftButton); },
        [](Dialog& d) { PressAlt(d, Qt::Key_O); },
        ClickTab,
    };
    for (const auto& goOn : waysOn) {
        Dialog dialog;
        dialog.Begin(u"bad"_s);
        QTest::mousePress(dialog.m_Cancel, Qt::LeftButton);
        QTest::mouseRelease(dialog.m_Cancel, Qt::LeftButton, {}, {-50, -50});
        ASSERT_TRUE(dialog.m_Cancel->hasFocus());
        goOn(dialog);
        EXPECT_TRUE(dialog.IsKept());
        EXPECT_EQ(dialog.Done(), "check");
    }
}

TEST(FieldCheck, a_click_after_a_refused_one_is_not_lost)
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

TEST(FieldCheck, enter_that_would_press_an_exempt_button_or_none_runs_no_check)
{
    Dialog dialog;
    dialog.m_Cancel->setDefault(true);
    dialog.Begin(u"bad"_s);
    QTest::keyClick(dialog.m_Field, Qt::Key_Return);
    EXPECT_EQ(dialog.Done(), "cancel");
    dialog.m_Cancel->setDefault(false);
    QTest::keyClick(dialog.m_Field, Qt::Key_Return);
    EXPECT_EQ(dialog.Done(), "cancel");
}

TEST(FieldCheck, a_check_that_fails_is_logged_and_refuses)
{
    FakeMainWindow mainWindow;
    Dialog dialog;
    dialog.m_FieldCheck.Add(dialog.m_Field, []() -> bool { throw ValueError::Overflow(); });
    dialog.Begin(u"1"_s);
    QTest::mouseClick(dialog.m_Ok, Qt::LeftButton);
    EXPECT_TRUE(dialog.IsKept());
    EXPECT_EQ(dialog.Done(), "");
    EXPECT_EQ(mainWindow.LogMessages(), QStringList{u"Overflow"_s});
}
