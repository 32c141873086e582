#include "mainwindow/LinePaste.h"

#include "core/modFields.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>

namespace {

void Paste(QLineEdit* box, QClipboard::Mode mode)
{
    modMain::InsertLine(box, QGuiApplication::clipboard()->text(mode));
}

} // namespace

LinePaste::LinePaste(QObject* parent)
    : QObject(parent)
{
    qApp->installEventFilter(this);
}

bool LinePaste::eventFilter(QObject* watched, QEvent* event)
{
    auto* box = qobject_cast<QLineEdit*>(watched);
    if (!box || !box->isEnabled() || box->isReadOnly()) return false;
    switch (event->type()) {
    case QEvent::KeyPress: return KeyPressed(box, static_cast<QKeyEvent&>(*event));
    case QEvent::MouseButtonRelease: return MouseReleased(box, static_cast<QMouseEvent&>(*event));
    case QEvent::Drop: return Dropped(box, static_cast<QDropEvent&>(*event));
    case QEvent::ContextMenu: return MenuAsked(box, static_cast<QContextMenuEvent&>(*event));
    default: return false;
    }
}

bool LinePaste::KeyPressed(QLineEdit* box, const QKeyEvent& event)
{
    if (!event.matches(QKeySequence::Paste)) return false;
    // Ctrl+Shift+Insert pastes the mouse selection.
    const bool ofSelection = event.modifiers() == (Qt::ControlModifier | Qt::ShiftModifier);
    Paste(box, ofSelection ? QClipboard::Selection : QClipboard::Clipboard);
    return true;
}

bool LinePaste::MouseReleased(QLineEdit* box, const QMouseEvent& event)
{
    if (event.button() != Qt::MiddleButton || !QGuiApplication::clipboard()->supportsSelection()) return false;
    box->deselect();
    Paste(box, QClipboard::Selection);
    return true;
}

/// Text dragged from the box itself is moved unchanged.
bool LinePaste::Dropped(QLineEdit* box, QDropEvent& event)
{
    if (event.source() == box || !event.mimeData()->hasText()) return false;
    box->setCursorPosition(box->cursorPositionAt(event.position().toPoint()));
    modMain::InsertLine(box, event.mimeData()->text());
    event.acceptProposedAction();
    return true;
}

bool LinePaste::MenuAsked(QLineEdit* box, const QContextMenuEvent& event)
{
    if (box->contextMenuPolicy() != Qt::DefaultContextMenu) return false;
    QMenu* menu = box->createStandardContextMenu();
    for (QAction* entry : menu->actions()) {
        if (disconnect(entry, nullptr, box, SLOT(paste())))
            connect(entry, &QAction::triggered, box, [box] { Paste(box, QClipboard::Clipboard); });
    }
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event.globalPos());
    return true;
}
