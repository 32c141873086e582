#include "tests/system/Look.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPalette>
#include <QPushButton>
#include <QTabBar>
#include <QToolBar>

namespace {

QString Named(const QWidget& control)
{
    return QStringLiteral("%1 (%2)").arg(control.objectName(), QLatin1String(control.metaObject()->className()));
}

int TextWidth(const QWidget& control, const QString& text)
{
    return control.fontMetrics().size(Qt::TextShowMnemonic, text).width();
}

bool IsTextCut(const QWidget& control)
{
    if (const auto* label = qobject_cast<const QLabel*>(&control))
        return !label->wordWrap() && !label->text().isEmpty() && label->minimumSizeHint().width() > label->width();
    if (const auto* button = qobject_cast<const QPushButton*>(&control)) // its margins may go
        return TextWidth(*button, button->text()) > button->width() - 4;
    if (const auto* button = qobject_cast<const QAbstractButton*>(&control)) // a mark stands before the text
        return !button->text().isEmpty() && button->minimumSizeHint().width() > button->width();
    if (const auto* box = qobject_cast<const QGroupBox*>(&control)) return TextWidth(*box, box->title()) > box->width();
    const auto* tabs = qobject_cast<const QTabBar*>(&control);
    return tabs && tabs->sizeHint().width() > tabs->width();
}

/// Lines and lists that are lower than a row of their font cut what they show.
bool IsTooLow(const QWidget& control)
{
    return qobject_cast<const QLineEdit*>(&control) && control.height() < control.fontMetrics().height();
}

bool SticksOut(const QWidget& control)
{
    const QWidget* parent = control.parentWidget();
    if (control.isWindow() || qobject_cast<const QMdiSubWindow*>(&control)) return false;
    if (const auto* area = qobject_cast<const QAbstractScrollArea*>(parent->parentWidget());
        area && area->viewport() == parent)
        return false;
    return !parent->rect().contains(control.geometry());
}

bool IsNameless(QWidget& control)
{
    if (!(control.focusPolicy() & Qt::TabFocus) || !control.isEnabled()) return false;
    QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(&control);
    return (spoken ? spoken->text(QAccessible::Name) : control.accessibleName()).isEmpty();
}

/// What a toolbar does stands in menus too, and a child area gives the focus to the windows in it.
bool NeedsMouse(const QWidget& control)
{
    const bool isWorked = qobject_cast<const QAbstractButton*>(&control) || qobject_cast<const QComboBox*>(&control) ||
                          qobject_cast<const QLineEdit*>(&control) || qobject_cast<const QTabBar*>(&control) ||
                          qobject_cast<const QAbstractSpinBox*>(&control) ||
                          qobject_cast<const QAbstractScrollArea*>(&control);
    return isWorked && (control.focusPolicy() & Qt::TabFocus) == 0 && !qobject_cast<const QMdiArea*>(&control) &&
           !qobject_cast<const QToolBar*>(control.parentWidget());
}

/// Parts that Qt makes by itself: frames of child windows, buttons inside fields, scroll bars.
bool IsQtsOwn(const QWidget& control)
{
    return control.objectName().isEmpty() || control.objectName().startsWith(QStringLiteral("qt_"));
}

} // namespace

QStringList FaultsOf(QWidget& window)
{
    QStringList faults;
    for (QWidget* control : window.findChildren<QWidget*>()) {
        if (!control->isVisibleTo(&window) || IsQtsOwn(*control)) continue;
        if (IsTextCut(*control)) faults << Named(*control) + QStringLiteral(" cuts its text");
        if (IsTooLow(*control)) faults << Named(*control) + QStringLiteral(" is lower than its text");
        if (SticksOut(*control)) faults << Named(*control) + QStringLiteral(" sticks out");
        if (NeedsMouse(*control)) faults << Named(*control) + QStringLiteral(" is out of the keyboard's reach");
        if (IsNameless(*control)) faults << Named(*control) + QStringLiteral(" has no name to be spoken");
    }
    return faults;
}

void UseDarkPalette()
{
    const QColor window(45, 45, 48);
    const QColor base(30, 30, 30);
    QPalette palette(window);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Highlight, QColor(38, 110, 180));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::Link, QColor(90, 160, 230));
    QApplication::setPalette(palette);
}
