#include "mainwindow/StatusPanel.h"

#include "core/DisplayText.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace {

constexpr int Gap = 4;

} // namespace

StatusPanel::StatusPanel(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
}

void StatusPanel::SetImage(const QIcon& image)
{
    m_Image = image;
    update();
}

QSize StatusPanel::sizeHint() const
{
    return {fontMetrics().averageCharWidth() * 16, minimumSizeHint().height()};
}

QSize StatusPanel::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 6, fontMetrics().height() + 2 * frameWidth() + Gap};
}

bool StatusPanel::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip) return QLabel::event(event);
    const bool isShortened = ShownText() != text();
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), isShortened ? ToolTipHtml(text()) : QString(),
                       this);
    return true;
}

void StatusPanel::paintEvent(QPaintEvent* event)
{
    QFrame::paintEvent(event);
    QPainter painter(this);
    const QRect place = contentsRect().adjusted(Gap, 0, -Gap, 0);
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    m_Image.paint(&painter, place.left(), place.top(), size, place.height());
    painter.drawText(TextPlace(), Qt::AlignVCenter | Qt::TextSingleLine, ShownText());
}

QRect StatusPanel::TextPlace() const
{
    const int image = m_Image.isNull() ? 0 : style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this) + Gap;
    return contentsRect().adjusted(Gap + image, 0, -Gap, 0);
}

QString StatusPanel::ShownText() const
{
    return fontMetrics().elidedText(OneLine(text()), Qt::ElideRight, TextPlace().width());
}
