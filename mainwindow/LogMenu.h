#pragma once

#include "mainwindow/CommandEntries.h"

#include <QObject>

class LogPane;
class QMenu;

/// The log pane's own pop-up instead of the text box's. Any press on the pane makes it the target of the edit commands.
class LogMenu : public QObject
{
    Q_OBJECT

public:
    LogMenu(LogPane* txtLog, QMenu* mnuPopupLog, const EditEntries& entries);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void txtLog_MouseDown(Qt::MouseButton button, const QPoint& position);
    void ShowMenu(const QPoint& position);

    LogPane* m_Log;
    QMenu* m_Menu;
    EditEntries m_Entries;
};
