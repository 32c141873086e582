#include "core/FieldCheck.h"
#include "tests/support/WindowTest.h"

#include <QDialog>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>

namespace {

/// A dialog with two pages, a checked field on the first one, and one control of each kind around it. The check
/// refuses "bad".
struct Dialog : QDialog
{
    Dialog()
    {
        m_Tabs->addTab(m_Page, u"&General"_s);
        m_Tabs->addTab(new QLineEdit, u"&Details"_s);
        m_Small->setText(u"small"_s);
        m_Small->setFocusPolicy(Qt::NoFocus);
        m_Ok->setDefault(true);
        for (QAbstractButton* button : QList<QAbstractButton*>{m_Ok, m_Small, m_Cancel})
            connect(button, &QAbstractButton::clicked, this, [this, button] { m_Done << button->text().remove(u'&'); });
        connect(m_Tabs, &QTabWidget::currentChanged, this, [this] { m_Done << u"page"_s; });
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
    QLineEdit* m_Other = new QLineEdit(m_Page);
    QToolButton* m_Small = new QToolButton(m_Page);
    QPushButton* m_Ok = new QPushButton(u"&ok"_s, this);
    QPushButton* m_Cancel = new QPushButton(u"&cancel"_s, this);
    FieldCheck m_FieldCheck{this};
    QStringList m_Done;
    bool m_ShowBox = false;

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

void Click(QWidget* control)
{
    QTest::mouseClick(control, Qt::LeftButton);
}

void ClickOtherTab(Dialog& dialog)
{
    QTabBar* tabs = dialog.m_Tabs->tabBar();
    QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
}

void Press(Dialog& dialog, Qt::Key key, Qt::KeyboardModifiers modifiers = {})
{
    QTest::keyClick(dialog.m_Field, key, modifiers);
}

void PressAlt(Dialog& dialog, Qt::Key letter)
{
    QTest::keyClick(QApplication::focusWidget(), letter, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !dialog.m_Ok->isDown() && !dialog.m_Cancel->isDown(); }));
}

/// Where something may be done, and in how many of these ways each is tried.
const QStringList Beginnings = {u"in the field"_s, u"in the field, with a message box"_s, u"from cancel"_s};
constexpr int NoWayOut = 1, KeyOfField = 2, WayOut = 3;

const struct
{
    int Leads;
    const char* Name;
    void (*Run)(Dialog&);
    const char* Done; ///< in order, when nothing is refused
} Actions[] = {
    {WayOut, "tab", [](Dialog&) { QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab); }, "check"},
    {WayOut, "click on a field", [](Dialog& d) { Click(d.m_Other); }, "check"},
    {WayOut, "click on a button", [](Dialog& d) { Click(d.m_Ok); }, "check ok"},
    {WayOut, "button without focus", [](Dialog& d) { Click(d.m_Small); }, "check small"},
    {WayOut, "click on a tab", [](Dialog& d) { ClickOtherTab(d); }, "check page"},
    {WayOut, "wheel over the tabs", [](Dialog& d) { TurnWheel(*d.m_Tabs->tabBar()); }, "check page"},
    {WayOut, "access key of a button", [](Dialog& d) { PressAlt(d, Qt::Key_O); }, "check ok"},
    {WayOut, "access key of a tab", [](Dialog& d) { PressAlt(d, Qt::Key_D); }, "check page"},
    {KeyOfField, "ctrl+tab", [](Dialog& d) { Press(d, Qt::Key_Tab, Qt::ControlModifier); }, "check page"},
    {KeyOfField, "enter", [](Dialog& d) { Press(d, Qt::Key_Return); }, "check ok"},
    {NoWayOut, "click on cancel", [](Dialog& d) { Click(d.m_Cancel); }, "cancel"},
    {NoWayOut, "access key of cancel", [](Dialog& d) { PressAlt(d, Qt::Key_C); }, "cancel"},
    {NoWayOut, "enter for cancel", [](Dialog& d) { d.m_Cancel->setDefault(true), Press(d, Qt::Key_Return); }, "cancel"},
    {NoWayOut, "escape", [](Dialog& d) { Press(d, Qt::Key_Escape); }, "rejected"},
    {NoWayOut, "focus by a pop-up", [](Dialog& d) { d.m_Other->setFocus(Qt::PopupFocusReason); }, ""},
};

using FieldChecks = WindowTest<QWidget>;

} // namespace

TEST_F(FieldChecks, VetoEveryWayOutOfARefusedFieldAlsoOverAnExemptControlAndNothingElse)
{
    for (const auto& [leads, name, run, done] : Actions) {
        for (const QString& beginning : Beginnings.first(leads)) {
            SCOPED_TRACE(name + (' ' + beginning.toStdString()));
            Dialog dialog;
            dialog.m_ShowBox = beginning.contains(u"box");
            dialog.Begin(u"bad"_s);
            for (const char* refused : {"check", "check check"}) {
                if (leads == NoWayOut) break;
                if (beginning == u"from cancel") dialog.m_Cancel->setFocus(Qt::TabFocusReason);
                run(dialog);
                EXPECT_TRUE(dialog.IsKept());
                EXPECT_EQ(dialog.Done(), refused);
            }
            if (leads != NoWayOut) dialog.Begin(u"good"_s);
            run(dialog);
            QTest::qWait(1);
            EXPECT_EQ(dialog.Done(), done);
        }
    }
}

TEST_F(FieldChecks, LoseNoClickAfterARefusedOne)
{
    Dialog dialog;
    dialog.Begin(u"bad"_s);
    Click(dialog.m_Ok);
    dialog.m_Field->setText(u"good"_s);
    Click(dialog.m_Ok);
    EXPECT_EQ(dialog.Done(), "check check ok");
}

TEST_F(FieldChecks, ThatFailAreLoggedAndRefuse)
{
    Dialog dialog;
    dialog.m_FieldCheck.Add(dialog.m_Field, []() -> bool { throw ValueError::Overflow(); });
    dialog.Begin(u"1"_s);
    Click(dialog.m_Ok);
    EXPECT_TRUE(dialog.IsKept());
    EXPECT_EQ(dialog.Done(), "");
    EXPECT_EQ(TakeLog(), QStringList{u"Overflow"_s});
}
