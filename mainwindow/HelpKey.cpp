#include "mainwindow/HelpKey.h"

#include "additem/frmAddItem.h"
#include "batchwrite/frmBatchWrite.h"
#include "controller/frmController.h"
#include "controller/frmEngine.h"
#include "guide/Guide.h"
#include "history/frmHistory.h"
#include "item/frmItem.h"
#include "perfcheck/frmPerfChk.h"
#include "scripttool/frmScriptTool.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMainWindow>

namespace {

struct WindowPage
{
    const QMetaObject& Window;
    QString Page;
};

const WindowPage s_Pages[] = {
    {frmAddItem::staticMetaObject, QStringLiteral("guide/add-item.html")},
    {frmBatchWrite::staticMetaObject, QStringLiteral("guide/batch.html")},
    {frmController::staticMetaObject, QStringLiteral("guide/subscribe.html")},
    {frmEngine::staticMetaObject, QStringLiteral("guide/subscribe.html")},
    {frmHistory::staticMetaObject, QStringLiteral("guide/history.html")},
    {frmItem::staticMetaObject, QStringLiteral("guide/write.html")},
    {frmPerfChk::staticMetaObject, QStringLiteral("guide/measure.html")},
    {frmScriptTool::staticMetaObject, QStringLiteral("scripting.html")},
    {QMainWindow::staticMetaObject, QStringLiteral("user-guide.html")}, // the console itself: tree and log, too
};

/// The page of the innermost window around the widget; empty where none has one.
QString PageOf(const QWidget* widget)
{
    for (; widget; widget = widget->parentWidget()) {
        for (const WindowPage& entry : s_Pages)
            if (widget->metaObject()->inherits(&entry.Window)) return entry.Page;
    }
    return {};
}

/// A key that a widget does not want goes to its parents, too: it counts where it comes first.
bool ComesFirstTo(const QWidget& widget)
{
    const QWidget* focus = QApplication::focusWidget();
    return focus ? focus == &widget : widget.isWindow();
}

bool IsHelpKey(const QKeyEvent& event)
{
    return event.key() == Qt::Key_F1 && event.modifiers() == Qt::NoModifier && !event.isAutoRepeat();
}

} // namespace

HelpKey::HelpKey(QObject* parent, Guide& guide)
    : QObject(parent)
    , m_Guide(guide)
{
    qApp->installEventFilter(this);
}

/// The key goes on to the widget: property grids copy their cell at any key.
bool HelpKey::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType()) return false;
    const auto& widget = static_cast<const QWidget&>(*watched);
    if (!IsHelpKey(static_cast<const QKeyEvent&>(*event)) || !ComesFirstTo(widget)) return false;
    if (const QString page = PageOf(&widget); !page.isEmpty()) m_Guide.Open(page);
    return false;
}
