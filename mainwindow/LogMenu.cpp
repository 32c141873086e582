#include "mainwindow/LogMenu.h"

#include "core/LogPane.h"
#include "core/modAPI.h"
#include "core/modMain.h"

#include <QContextMenuEvent>
#include <QMenu>

LogMenu::LogMenu(LogPane* txtLog, QMenu* mnuPopupLog, const EditEntries& entries)
    : QObject(txtLog)
    , m_Log(txtLog)
    , m_Menu(mnuPopupLog)
    , m_Entries(entries)
{
    txtLog->installEventFilter(this);
    txtLog->viewport()->installEventFilter(this);
}

bool LogMenu::eventFilter(QObject*, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress) {
        const auto& press = static_cast<QMouseEvent&>(*event);
        txtLog_MouseDown(press.button(), press.globalPosition().toPoint());
        return press.button() == Qt::RightButton;
    }
    if (event->type() != QEvent::ContextMenu) return false;
    if (static_cast<QContextMenuEvent*>(event)->reason() != QContextMenuEvent::Mouse) {
        txtLog_MouseDown(Qt::RightButton, m_Log->viewport()->mapToGlobal(m_Log->cursorRect().bottomLeft()));
    }
    return true;
}

void LogMenu::txtLog_MouseDown(Qt::MouseButton button, const QPoint& position)
{
    modMain::ActiveEditBox = m_Log;
    if (button == Qt::RightButton) ShowMenu(position);
}

void LogMenu::ShowMenu(const QPoint& position)
{
    m_Entries.EnableFor(m_Log);
    {
        const modAPI::FrozenRedraw frozen(m_Log->window());
        m_Log->setFocus();
    }
    m_Menu->popup(position);
}
