#pragma once

#include <QObject>

class QMdiArea;
class QWidget;

/// Where the main window is small, the keyboard reaches controls of child windows that are out of sight: the child area
/// is then scrolled.
class ScrollToFocus : public QObject
{
    Q_OBJECT

public:
    explicit ScrollToFocus(QMdiArea* area);

private:
    void FocusChanged(QWidget* before, const QWidget* now);

    QMdiArea* m_Area;
};
