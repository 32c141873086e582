#include "mainwindow/StatusPanel.h"

#include <QPainter>
#include <QStyle>

namespace {

constexpr int Gap = 4;
/// More characters than any screen is wide: laying out a whole name of a megabyte would take seconds.
constexpr int MaxShown = 2000;

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

void StatusPanel::paintEvent(QPaintEvent* event)
{
    QFrame::paintEvent(event);
    QPainter painter(this);
    QRect room = contentsRect().adjusted(Gap, 0, -Gap, 0);
    if (!m_Image.isNull()) {
        const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
        m_Image.paint(&painter, room.left(), room.top(), size, room.height());
        room.setLeft(room.left() + size + Gap);
    }
    const QString shown = fontMetrics().elidedText(text().left(MaxShown), Qt::ElideRight, room.width());
    painter.drawText(room, Qt::AlignVCenter | Qt::TextSingleLine, shown);
}
