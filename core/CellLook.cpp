#include "core/CellLook.h"

#include <QPainter>
#include <QStyleOptionViewItem>

namespace {

constexpr double HatchOpacity = 0.2;
constexpr double HatchOpacityInSelection = 0.5;
constexpr double TintOpacity = 0.25;
constexpr int EdgeWidth = 4;

bool IsSelected(const QStyleOptionViewItem& option)
{
    return option.state.testFlag(QStyle::State_Selected);
}

QColor InkOf(const QStyleOptionViewItem& option, QPalette::ColorRole usual)
{
    return option.palette.color(IsSelected(option) ? QPalette::HighlightedText : usual);
}

QColor Translucent(QColor colour, double opacity)
{
    colour.setAlphaF(static_cast<float>(opacity));
    return colour;
}

} // namespace

void CellLook::Dim(QStyleOptionViewItem& option)
{
    option.font.setItalic(true);
    option.palette.setBrush(QPalette::Text, option.palette.brush(QPalette::PlaceholderText));
    if (!option.icon.isNull()) option.icon = QIcon(option.icon.pixmap(option.decorationSize, QIcon::Disabled));
}

void CellLook::Hatch(QPainter& painter, const QStyleOptionViewItem& option)
{
    const double opacity = IsSelected(option) ? HatchOpacityInSelection : HatchOpacity;
    painter.fillRect(option.rect, QBrush(Translucent(InkOf(option, QPalette::Text), opacity), Qt::BDiagPattern));
}

void CellLook::Mark(QPainter& painter, const QStyleOptionViewItem& option)
{
    const QColor ink = InkOf(option, QPalette::Highlight);
    painter.fillRect(option.rect, Translucent(ink, TintOpacity));
    painter.fillRect(option.rect.adjusted(option.rect.width() - EdgeWidth, 0, 0, 0), ink);
}
