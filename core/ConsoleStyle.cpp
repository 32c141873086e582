#include "core/ConsoleStyle.h"

#include "core/Contrast.h"

#include <QApplication>
#include <QComboBox>
#include <QPainter>
#include <QStyleOption>

namespace {

/// A field has colours of its own; what counts is what is around it.
QPalette Around(const QStyleOption& option, const QWidget* widget)
{
    return widget && widget->parentWidget() ? widget->parentWidget()->palette() : option.palette;
}

QColor Ink(const QPalette& palette, double ratio)
{
    return Contrast::Toned(palette.color(QPalette::Window), palette.color(QPalette::WindowText), ratio);
}

void DrawOutline(QPainter& painter, const QRectF& rect, const QColor& colour, double radius = 2)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(colour);
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.restore();
}

/// Where the fills of open and locked fields differ too little, the outlines tell them apart: strong or just visible. The
/// outline of the focus is not painted over.
void OutlineField(const QStyleOption& option, QPainter& painter, const QRectF& rect, const QWidget* widget,
                  double radius = 2)
{
    const QPalette around = Around(option, widget);
    if (option.state & (QStyle::State_HasFocus | QStyle::State_ReadOnly) || Contrast::TellsFieldsApart(around)) return;
    const bool isOpen = option.state & QStyle::State_Enabled;
    DrawOutline(painter, rect, Ink(around, isOpen ? Contrast::LeastOfTexts : Contrast::LeastOfFills), radius);
}

/// Fusion draws the white title of the active window on a shadow in the palette's text colour, which a dark palette has
/// white as well: every letter would be there twice.
QStyleOptionTitleBar WithDarkShadow(const QStyleOptionTitleBar& bar)
{
    QStyleOptionTitleBar shaded = bar;
    shaded.palette.setColor(QPalette::Text, Qt::black);
    return shaded;
}

/// A grip in the middle of a bar between panes.
void DrawGrip(const QStyleOption& option, QPainter& painter, const QWidget* widget)
{
    const int length = 3 * option.fontMetrics.height();
    const bool isUpright = option.rect.height() > option.rect.width();
    const int thickness = std::max(2, (isUpright ? option.rect.width() : option.rect.height()) / 3);
    QRect grip(QPoint(), isUpright ? QSize(thickness, length) : QSize(length, thickness));
    grip.moveCenter(option.rect.center());
    painter.fillRect(grip, Ink(Around(option, widget), Contrast::LeastOfOutlines));
}

} // namespace

void ConsoleStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                 const QWidget* widget) const
{
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    if (element == PE_FrameLineEdit) OutlineField(*option, *painter, option->rect, widget);
    if (element == PE_IndicatorCheckBox) OutlineField(*option, *painter, option->rect, widget);
    if (element == PE_IndicatorRadioButton)
        OutlineField(*option, *painter, option->rect, widget, option->rect.height() / 2.0);
    if (element == PE_Frame || element == PE_FrameWindow)
        DrawOutline(*painter, option->rect, Ink(Around(*option, widget), Contrast::LeastOfOutlines));
}

void ConsoleStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                                      const QWidget* widget) const
{
    const auto* bar = qstyleoption_cast<const QStyleOptionTitleBar*>(option);
    if (control == CC_TitleBar && bar && bar->titleBarState & State_Active) {
        const QStyleOptionTitleBar shaded = WithDarkShadow(*bar);
        return QProxyStyle::drawComplexControl(control, &shaded, painter, widget);
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
    const auto* list = qstyleoption_cast<const QStyleOptionComboBox*>(option);
    if (control == CC_ComboBox && list && !list->editable)
        OutlineField(*option, *painter, QRectF(option->rect).adjusted(0, 1, 0, 0), widget);
}

void ConsoleStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                               const QWidget* widget) const
{
    QProxyStyle::drawControl(element, option, painter, widget);
    if (element == CE_Splitter) DrawGrip(*option, *painter, widget);
}

int ConsoleStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const
{
    const int chosen = QProxyStyle::pixelMetric(metric, option, widget);
    const int row = QFontMetrics(widget ? widget->font() : QApplication::font()).height();
    switch (metric) {
    case PM_SplitterWidth: return std::max(chosen, row * 2 / 5);
    case PM_MdiSubWindowFrameWidth: return std::max(chosen, row / 4);
    case PM_TitleBarHeight: return std::max(chosen, row + 8);
    default: return chosen;
    }
}
