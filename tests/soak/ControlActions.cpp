// What is done to any control of whatever window is in front.
#include "tests/soak/ConsoleActions.h"

#include "controller/EventList.h"
#include "core/MainWindow.h"
#include "core/modMain.h"
#include "mainwindow/DragBar.h"
#include "mainwindow/ObjectTreeView.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/support/ConsoleTest.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMainWindow>
#include <QMdiSubWindow>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QScrollBar>
#include <QSplitter>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

/// What an operator types, and what he should not.
const QString Texts[] = {
    u"25"_s,
    u"0"_s,
    u"-1"_s,
    u"3,5"_s,
    u"1e9"_s,
    u"2"_s,
    u"65536"_s,
    u"abc"_s,
    u"Größe <b>1</b> & [*]"_s,
    u" "_s,
    u"10,20,30"_s,
    u"{3,25},{8,text}"_s,
    u"2024-02-30"_s,
    u"True"_s,
    u"New item"_s,
    u"D100"_s,
    u"Level"_s,
    u"echo hello"_s,
    u"sleep 300"_s,
    u"fire PLC1 item D100 500"_s,
    u"fire PLC1 state 3 20"_s,
    u"return 8204,{1},{0}"_s,
    u"fail <i>no</i>"_s,
    u"object PLC1 D100"_s,
    u"references"_s,
    u"plant"_s,
    u"nonsense"_s,
};

const QKeyCombination Keys[] = {
    Qt::Key_Tab,
    Qt::Key_Tab,
    Qt::SHIFT | Qt::Key_Tab,
    Qt::Key_Escape,
    Qt::Key_Return,
    Qt::Key_Space,
    Qt::Key_F6,
    Qt::SHIFT | Qt::Key_F6,
    Qt::CTRL | Qt::Key_Tab,
    Qt::CTRL | Qt::SHIFT | Qt::Key_Tab,
    Qt::CTRL | Qt::Key_F4,
    Qt::CTRL | Qt::Key_F,
    Qt::Key_F3,
    Qt::SHIFT | Qt::Key_F3,
    Qt::CTRL | Qt::Key_A,
    Qt::CTRL | Qt::Key_C,
    Qt::CTRL | Qt::Key_V,
    Qt::CTRL | Qt::Key_X,
    Qt::CTRL | Qt::Key_Z,
    Qt::ALT | Qt::Key_Minus,
    Qt::Key_Home,
    Qt::Key_End,
    Qt::Key_PageUp,
    Qt::Key_PageDown,
    Qt::Key_Delete,
    Qt::Key_Backspace,
    Qt::Key_Menu,
    Qt::Key_Up,
    Qt::Key_Down,
    Qt::Key_Left,
    Qt::Key_Right,
    Qt::Key_F5,
    Qt::SHIFT | Qt::Key_F5,
    Qt::ALT | Qt::Key_Left,
    Qt::CTRL | Qt::Key_End,
    Qt::SHIFT | Qt::Key_Down,
    Qt::CTRL | Qt::SHIFT | Qt::Key_C,
    Qt::ALT | Qt::Key_S,
    Qt::ALT | Qt::Key_G,
    Qt::ALT | Qt::Key_P,
    Qt::CTRL | Qt::Key_Plus,
};

/// Pressed more often than their number among all buttons would have it.
const QString Commands[] = {
    u"cmdPerfchk"_s, u"cmdAddItem"_s, u"cmdGet"_s,       u"cmdPut"_s,    u"cmdStart"_s,
    u"cmdStop"_s,    u"cmdExecute"_s, u"cmdHide"_s,      u"cmdRemove"_s, u"cmdSnapshot"_s,
    u"cmdOK"_s,      u"cmdRun"_s,     u"cmdClear"_s,     u"cmdOpen"_s,   u"optPattern_2"_s,
    u"chkEvent_0"_s, u"chkEvent_1"_s, u"cmdOverwrite"_s, u"cmdExit"_s,   u"cmdFind"_s,
};

} // namespace

bool ConsoleActions::PressButton()
{
    auto* button = m_Hand.AnyOf<QAbstractButton>(m_Hand.Front());
    if (!button) return false;
    m_Hand.Click(*button);
    return true;
}

bool ConsoleActions::PressCommand()
{
    QList<QAbstractButton*> usable;
    for (const QString& name : Commands)
        for (auto* button : m_Hand.Front()->findChildren<QAbstractButton*>(name))
            if (button->isEnabled() && !button->visibleRegion().isEmpty()) usable << button;
    if (usable.isEmpty()) return false;
    QAbstractButton* button = m_Hand.OneOf(usable);
    m_Hand.ClickAt(*button, {8, button->height() / 2});
    return true;
}

bool ConsoleActions::TypeOver(QWidget* field, const QString& text)
{
    if (!field || !field->isEnabled() || field->visibleRegion().isEmpty()) return false;
    m_Hand.Click(*field);
    m_Hand.Key(Qt::CTRL | Qt::Key_A);
    m_Hand.Type(text);
    return true;
}

bool ConsoleActions::TypeIntoField()
{
    if (!TypeOver(m_Hand.AnyOf<QLineEdit>(m_Hand.Front()), m_Hand.OneOf(Texts))) return false;
    const int then = m_Hand.Number(4);
    if (then < 2) m_Hand.Key(then == 0 ? Qt::Key_Tab : Qt::Key_Return);
    return true;
}

bool ConsoleActions::Tick()
{
    QAbstractButton* box = m_Hand.AnyOf<QCheckBox>(m_Hand.Front());
    if (!box || m_Hand.OneIn(2)) {
        if (QAbstractButton* option = m_Hand.AnyOf<QRadioButton>(m_Hand.Front())) box = option;
    }
    if (!box) return false;
    m_Hand.ClickAt(*box, {8, box->height() / 2});
    return true;
}

bool ConsoleActions::List()
{
    auto* list = m_Hand.AnyOf<QComboBox>(m_Hand.Front());
    if (!list) return false;
    m_Hand.Click(*list);
    if (m_Hand.OneIn(3)) m_Hand.Key(Qt::Key_PageDown, 1);
    return true;
}

bool ConsoleActions::Wheel()
{
    auto* control = m_Hand.AnyOf<QWidget>(m_Hand.Front());
    if (!control) return false;
    const QPointer<QWidget> still = control;
    for (int i = m_Hand.Number(6); i >= 0 && still; --i) m_Hand.Wheel(*still);
    return true;
}

bool ConsoleActions::DragSomething()
{
    QWidget* front = m_Hand.Front();
    QWidget* const held[] = {m_Hand.AnyOf<DragBar>(front),        m_Hand.AnyOf<QSplitterHandle>(front),
                             m_Hand.AnyOf<QMdiSubWindow>(front),  m_Hand.AnyOf<QHeaderView>(front),
                             m_Hand.AnyOf<QScrollBar>(front),     m_Hand.AnyOf<ObjectTreeView>(front),
                             m_Hand.AnyOf<QPlainTextEdit>(front), m_Hand.AnyOf<QLineEdit>(front)};
    QWidget* control = m_Hand.OneOf(held);
    if (!control) return false;
    // A child window is moved by its title, or resized by its edge.
    const bool isFrame = qobject_cast<QMdiSubWindow*>(control);
    const QPoint from = !isFrame          ? m_Hand.AnyPlaceIn(control->rect())
                        : m_Hand.OneIn(2) ? QPoint(control->width() / 2, 8)
                                          : QPoint(control->width() - 2, control->height() - 2);
    auto* area = qobject_cast<QAbstractScrollArea*>(control);
    m_Hand.Drag(area ? *area->viewport() : *control, from, {m_Hand.Number(400) - 200, m_Hand.Number(300) - 150});
    return true;
}

bool ConsoleActions::ContextMenu()
{
    const int way = m_Hand.Number(4);
    QWidget* control = nullptr;
    if (way == 0) control = m_Hand.AnyOf<EventList>(m_Hand.Front());
    if (!control && way < 2) control = m_Hand.AnyOf<QAbstractScrollArea>(m_Hand.Front());
    if (!control) control = m_Hand.AnyOf<QWidget>(m_Hand.Front());
    if (!control) return false;
    m_Hand.Click(*control, Qt::RightButton);
    return true;
}

/// Opens the dialog, where it is not open yet; the measurement ends only when it is stopped.
bool ConsoleActions::Measure()
{
    const QPointer<frmPerfChk> check = FrontAs<frmPerfChk>();
    const QString name = check ? u"optPattern_2"_s : u"cmdPerfchk"_s;
    auto* button = m_Hand.Front()->findChild<QAbstractButton*>(name);
    if (!button || !button->isEnabled() || button->visibleRegion().isEmpty()) return false;
    m_Hand.ClickAt(*button, {8, button->height() / 2});
    if (check) m_Hand.Click(*check->findChild<QAbstractButton*>(u"cmdStart"_s));
    return true;
}

bool ConsoleActions::Keys()
{
    for (int i = m_Hand.Number(6); i >= 0; --i) m_Hand.Key(m_Hand.OneOf(::Keys));
    return true;
}

bool ConsoleActions::Rest()
{
    auto* control = m_Hand.AnyOf<QWidget>(m_Hand.Front());
    if (!control) return false;
    m_Hand.RestAt(*control, m_Hand.AnyPlaceIn(control->rect()));
    return true;
}

bool ConsoleActions::OtherWindow()
{
    QWidget* main = modMain::GetMainWindow()->Widget();
    if (m_Hand.OneIn(3)) m_Hand.GoToOtherWindow();
    else m_Hand.GoTo(*main);
    return true;
}

bool ConsoleActions::Resize()
{
    QWidget* front = m_Hand.Front();
    if (front->isMaximized()) return false;
    front->resize(500 + m_Hand.Number(1200), 350 + m_Hand.Number(700));
    return true;
}

bool ConsoleActions::CloseWindow()
{
    const bool isMain = FrontAs<QMainWindow>();
    if (isMain && !m_Hand.OneIn(20)) m_Hand.Key(Qt::CTRL | Qt::Key_F4);
    else m_Hand.CloseFront();
    return true;
}
