#pragma once

#include "core/Platform.h"

#include <QPointer>

class QLineEdit;
class QWidget;

/// The operating-system functions that the console uses, on the main window's platform.
namespace modAPI {

quint32 GetTickCount();
QDateTime GetLocalTime();
void SetPriorityClass(quint32 priorityClass);
void OutputDebugString(const QString& text);
QString WritableProgramFolder();
/// Only digits can be typed into the field; pasted text is left to the field's own check.
void SetNumberOnly(QLineEdit* field);

/// The window is not redrawn while this object exists, so that all changes appear at once.
class FrozenRedraw
{
public:
    explicit FrozenRedraw(QWidget* window);
    ~FrozenRedraw();
    Q_DISABLE_COPY_MOVE(FrozenRedraw)

private:
    QPointer<QWidget> m_Window;
};

} // namespace modAPI
