#pragma once

#include "trend/picture/PictureColours.h"
#include "trend/picture/PictureLayout.h"

class QPainter;

/// Paints what stands around and below the pens: the grid, axes with their labels, names of the lanes.
class FramePainter
{
public:
    FramePainter(QPainter& painter, const PictureContent& content, const PictureLayout& layout,
                 const PictureColours& colours);

    void PaintGrid();
    void PaintAxes();
    void PaintNames();

private:
    void PaintTimeLabel(const TimeTick& tick, double x);
    void PaintValueAxis(const PictureAxis& axis);
    QColor ColourOf(const PictureAxis& axis) const;

    QPainter& m_Painter;
    const PictureContent& m_Content;
    const PictureLayout& m_Layout;
    const PictureColours& m_Colours;
    const QFontMetricsF m_Font;
    const std::vector<TimeTick> m_Ticks;
    double m_ContextEnd = 0; ///< where the last day or year was written until
};
