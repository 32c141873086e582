#include "tests/soak/ConsoleActions.h"

#include "core/MainWindow.h"
#include "core/modMain.h"
#include "perfcheck/frmPerfChk.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>

using namespace Qt::StringLiterals;

ConsoleActions::ConsoleActions(ConsoleHand& hand, QString batchFile)
    : m_Hand(hand)
    , m_BatchFile(std::move(batchFile))
{
    const auto bound = [this](bool (ConsoleActions::*action)()) {
        return [this, action] { return (this->*action)(); };
    };
    m_All = {
        {"walk in the tree", 5, bound(&ConsoleActions::Walk)},
        {"open a node", 14, bound(&ConsoleActions::OpenNode)},
        {"menu of a node", 6, bound(&ConsoleActions::NodeMenu)},
        {"menu bar", 4, bound(&ConsoleActions::Menu)},
        {"press a button", 10, bound(&ConsoleActions::PressButton)},
        {"press a command", 16, bound(&ConsoleActions::PressCommand)},
        {"type into a field", 8, bound(&ConsoleActions::TypeIntoField)},
        {"tick a box", 5, bound(&ConsoleActions::Tick)},
        {"open a list", 4, bound(&ConsoleActions::List)},
        {"turn the wheel", 3, bound(&ConsoleActions::Wheel)},
        {"drag", 5, bound(&ConsoleActions::DragSomething)},
        {"context menu", 4, bound(&ConsoleActions::ContextMenu)},
        {"start a measurement", 8, bound(&ConsoleActions::Measure)},
        {"press keys", 8, bound(&ConsoleActions::Keys)},
        {"find", 3, bound(&ConsoleActions::Find)},
        {"execute a statement", 3, bound(&ConsoleActions::Statement)},
        {"run a script", 2, bound(&ConsoleActions::Script)},
        {"open the guide", 1, bound(&ConsoleActions::Guide)},
        {"start a batch", 4, bound(&ConsoleActions::Batch)},
        {"rest the pointer", 2, bound(&ConsoleActions::Rest)},
        {"go to another window", 8, bound(&ConsoleActions::OtherWindow)},
        {"resize the window", 1, bound(&ConsoleActions::Resize)},
        {"close a window", 3, bound(&ConsoleActions::CloseWindow)},
    };
}

void ConsoleActions::DoOne(const std::function<void(const char*)>& doing)
{
    doing(AnswerName);
    if (AnswerPopup() || AnswerBox() || AnswerFileDialog()) {
        ++m_Answers;
        return;
    }
    int weights = 0;
    for (const Action& action : m_All) weights += action.Weight;
    for (int tried = 0; tried < 30; ++tried) {
        int left = m_Hand.Number(weights);
        auto action = m_All.begin();
        while ((left -= action->Weight) >= 0) ++action;
        doing(action->Name);
        if (!action->Do()) continue;
        ++action->Count;
        return;
    }
}

bool ConsoleActions::AnswerPopup()
{
    QWidget* popup = QApplication::activePopupWidget();
    if (!popup) return false;
    const int way = m_Hand.Number(10);
    if (way < 6) {
        m_Hand.Key(Qt::Key_Down, m_Hand.Number(7));
        m_Hand.Key(Qt::Key_Return);
    } else if (way < 8) m_Hand.Key(Qt::Key_Escape);
    else if (way < 9) m_Hand.Type(QString(QChar(u'a' + static_cast<char16_t>(m_Hand.Number(26)))));
    else m_Hand.Click(*popup);
    return true;
}

bool ConsoleActions::AnswerBox()
{
    const auto* box = FrontAs<QMessageBox>();
    if (!box) return false;
    const int way = m_Hand.Number(3);
    QAbstractButton* button = m_Hand.AnyOf<QAbstractButton>(box);
    if (way == 2 && button) m_Hand.Click(*button);
    else m_Hand.Key(way == 0 ? Qt::Key_Return : Qt::Key_Escape);
    return true;
}

bool ConsoleActions::AnswerFileDialog()
{
    if (!FrontAs<QFileDialog>()) return false;
    if (m_Hand.OneIn(3)) m_Hand.Key(Qt::Key_Escape);
    else {
        m_Hand.Type(m_BatchFile);
        m_Hand.Key(Qt::Key_Return);
    }
    return true;
}

void ConsoleActions::ComeToRest()
{
    m_Hand.LetGo();
    if (const auto* check = FrontAs<frmPerfChk>()) {
        auto* stop = check->findChild<QAbstractButton*>(u"cmdStop"_s);
        if (stop->isEnabled()) return m_Hand.Click(*stop);
    }
    const bool waits =
        QApplication::activePopupWidget() || QApplication::activeModalWidget() || QWidget::mouseGrabber();
    if (waits) return m_Hand.Key(Qt::Key_Escape);
    if (modMain::GetMainWindow()->Widget()->isVisible()) CloseAllWindows();
}

/// With the mouse: a child window may want the same letter.
void ConsoleActions::OpenMenu(const QString& name)
{
    QWidget* main = modMain::GetMainWindow()->Widget();
    m_Hand.GoTo(*main);
    auto* bar = main->findChild<QMenuBar*>();
    m_Hand.ClickAt(*bar, bar->actionGeometry(bar->findChild<QMenu*>(name)->menuAction()).center());
}

void ConsoleActions::CloseAllWindows()
{
    OpenMenu(u"mnuWindow"_s);
    m_Hand.Key(Qt::Key_L);
}

void ConsoleActions::ClearLog()
{
    OpenMenu(u"mnuEdit"_s);
    m_Hand.Key(Qt::Key_L);
}

void ConsoleActions::Leave()
{
    m_Hand.GoTo(*modMain::GetMainWindow()->Widget());
    m_Hand.Key(Qt::CTRL | Qt::Key_Q);
}
