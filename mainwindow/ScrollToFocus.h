#pragma once

#include <QObject>

class QMdiArea;
class QWidget;

/// When the main window is small, the keyboard can move the focus to controls of child windows that are out of sight;
/// the child area is then scrolled to them.
class ScrollToFocus : public QObject
{
    Q_OBJECT

public:
    explicit ScrollToFocus(QMdiArea* area);

private:
    void FocusChanged(QWidget* before, const QWidget* now);

    QMdiArea* m_Area;
};
