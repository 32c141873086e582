#pragma once

#include "trend/picture/PictureColours.h"
#include "trend/picture/PictureLayout.h"

class QPainter;

/// Paints what is measured in a picture: the marked span, limits, cursors.
class MeasurePainter
{
public:
    MeasurePainter(QPainter& painter, const PictureContent& content, const PictureLayout& layout,
                   const PictureColours& colours);

    void PaintMarkedSpan();
    void PaintLimits();
    void PaintCursors();

private:
    void PaintLimit(const PictureAxis& axis, const Pen& pen, double limit);
    void PaintCursor(int number, Micros time);
    void PaintFlag(const QString& text, const QPointF& bottom, const QColor& colour);

    QPainter& m_Painter;
    const PictureContent& m_Content;
    const PictureLayout& m_Layout;
    const PictureColours& m_Colours;
    const QFontMetricsF m_Font;
};
