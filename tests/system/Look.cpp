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

using namespace Qt::StringLiterals;

namespace {

template <typename... Types>
bool IsAnyOf(const QWidget& control)
{
    return (qobject_cast<const Types*>(&control) || ...);
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

bool SticksOut(const QWidget& control)
{
    const QWidget* parent = control.parentWidget();
    if (control.isWindow() || IsAnyOf<QMdiSubWindow>(control)) return false;
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
    return IsAnyOf<QAbstractButton, QComboBox, QLineEdit, QTabBar, QAbstractSpinBox, QAbstractScrollArea>(control) &&
           !(control.focusPolicy() & Qt::TabFocus) && !IsAnyOf<QMdiArea>(control) &&
           !qobject_cast<const QToolBar*>(control.parentWidget());
}

/// Parts that Qt makes by itself: frames of child windows, buttons inside fields, scroll bars.
bool IsQtsOwn(const QWidget& control)
{
    return control.objectName().isEmpty() || control.objectName().startsWith(u"qt_"_s);
}

} // namespace

QStringList FaultsOf(QWidget& window)
{
    QStringList faults;
    for (QWidget* control : window.findChildren<QWidget*>()) {
        if (!control->isVisibleTo(&window) || IsQtsOwn(*control)) continue;
        const QString name = control->objectName();
        if (IsTextCut(*control)) faults << name + u" cuts its text"_s;
        if (IsAnyOf<QLineEdit>(*control) && control->height() < control->fontMetrics().height())
            faults << name + u" is lower than its text"_s;
        if (SticksOut(*control)) faults << name + u" sticks out"_s;
        if (NeedsMouse(*control)) faults << name + u" is out of the keyboard's reach"_s;
        if (IsNameless(*control)) faults << name + u" has no name to be spoken"_s;
    }
    return faults;
}

void UseDarkPalette()
{
    QPalette palette(QColor(45, 45, 48));
    for (const auto& [role, color] : {std::pair(QPalette::Base, QColor(30, 30, 30)),
                                      {QPalette::AlternateBase, QColor(45, 45, 48)},
                                      {QPalette::Highlight, QColor(38, 110, 180)},
                                      {QPalette::HighlightedText, Qt::white},
                                      {QPalette::ToolTipBase, QColor(30, 30, 30)},
                                      {QPalette::ToolTipText, Qt::white},
                                      {QPalette::Link, QColor(90, 160, 230)}})
        palette.setColor(role, color);
    QApplication::setPalette(palette);
}
