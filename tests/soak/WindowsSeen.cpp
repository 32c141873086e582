#include "tests/soak/WindowsSeen.h"

#include "core/ChildWindow.h"
#include "core/FindBar.h"

#include <QApplication>
#include <QMainWindow>
#include <QMenu>
#include <QPushButton>

namespace {

const char* const All[] = {
    "frmEngine",
    "frmController",
    "frmItem",
    "frmHistory",
    "frmBatchWrite",
    "frmAddItem",
    "frmPerfChk",
    "frmPerfChk, running",
    "frmScriptTool",
    "frmScriptTool, running",
    "frmGuide",
    "QMessageBox",
    "QFileDialog",
    "find bar of frmMDI",
    "find bar of frmScriptTool",
    "find bar of frmGuide",
    "pop-up of frmMDI",
    "pop-up of ResultGrid",
    "pop-up of EventList",
    "pop-up of ChildFrame",
    "list of QComboBox",
};

QString ClassOf(const QObject& object)
{
    return QString::fromLatin1(object.metaObject()->className());
}

/// What a measurement or a script can be stopped with.
bool Runs(const QWidget& window)
{
    const auto* stop = window.findChild<QPushButton*>(QStringLiteral("cmdStop"));
    return stop && !qobject_cast<const QMainWindow*>(&window) && stop->isEnabled();
}

/// Pop-ups of the console's nodes have no owner of their own.
QString OwnerOf(const QMenu& popup)
{
    const QWidget* owner = popup.parentWidget();
    return ClassOf(owner->metaObject() == &QWidget::staticMetaObject ? *owner->window() : *owner);
}

QStringList KindsOf(const QWidget& window)
{
    if (const auto* popup = qobject_cast<const QMenu*>(&window); popup && popup->parentWidget())
        return {QStringLiteral("pop-up of ") + OwnerOf(*popup)};
    if (window.windowType() == Qt::Popup) return {QStringLiteral("list of QComboBox")};
    QStringList kinds = {ClassOf(window)};
    if (Runs(window)) kinds << kinds[0] + QStringLiteral(", running");
    for (const FindBar* bar : window.findChildren<FindBar*>())
        if (bar->isVisible()) kinds << QStringLiteral("find bar of ") + kinds[0];
    return kinds;
}

} // namespace

void WindowsSeen::Look()
{
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible()) continue;
        for (const QString& kind : KindsOf(*window)) ++m_Counts[kind];
    }
    for (const ChildWindow* form : ChildWindow::Forms())
        if (form->isVisible()) ++m_Counts[ClassOf(*form)];
}

QStringList WindowsSeen::Missing() const
{
    QStringList missing;
    for (const char* kind : All)
        if (!m_Counts.contains(QString::fromLatin1(kind))) missing << QString::fromLatin1(kind);
    return missing;
}
