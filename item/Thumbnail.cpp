#include "item/Thumbnail.h"

#include <QPainter>

namespace {

/// Averaging all pixels of a large picture takes longer than decoding it; this many for each displayed pixel look the
/// same.
constexpr int PointsPerPointShown = 4;

QImage ScaledTo(const QImage& picture, QSize size)
{
    // Enlarged pixels stay sharp, so that the details of a small picture can be told apart.
    if (size.width() >= picture.width()) return picture.scaled(size);
    const QSize coarse = size * PointsPerPointShown;
    const bool large = picture.width() > coarse.width() && picture.height() > coarse.height();
    return (large ? picture.scaled(coarse) : picture).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

Thumbnail::Thumbnail(QWidget* parent)
    : QFrame(parent)
{
}

void Thumbnail::SetPicture(const QImage& picture)
{
    m_Picture = picture;
    m_Scaled = QPixmap();
    update();
}

QSize Thumbnail::sizeHint() const
{
    const int row = fontMetrics().height();
    return {8 * row, 8 * row};
}

QSize Thumbnail::minimumSizeHint() const
{
    const int row = fontMetrics().height();
    return {4 * row, 3 * row};
}

void Thumbnail::paintEvent(QPaintEvent* event)
{
    QFrame::paintEvent(event);
    if (m_Picture.isNull()) return;
    Scale();
    QRect place({}, m_Scaled.deviceIndependentSize().toSize());
    place.moveCenter(contentsRect().center());
    QPainter(this).drawPixmap(place.topLeft(), m_Scaled);
}

void Thumbnail::Scale()
{
    const QSize box = contentsRect().size() * devicePixelRatio();
    const QSize size = m_Picture.size().scaled(box, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    if (m_Scaled.size() == size) return;
    m_Scaled = QPixmap::fromImage(ScaledTo(m_Picture, size));
    m_Scaled.setDevicePixelRatio(devicePixelRatio());
}
