#pragma once

#include "trend/core/Bars.h"
#include "trend/core/Pen.h"

#include <QColor>
#include <QImage>

class QPainter;

/// Paints the numbers of pens over time: as bars from the smallest to the largest value of each column of pixels where
/// there are many values, else as smooth lines, and as points too where there are few.
class CurvePainter
{
public:
    /// A picture of `shown`, `size` large, whose corner is the painter's origin. With `pixels`, the painter's own
    /// (transparent, 32 bit, premultiplied), bars are set directly.
    CurvePainter(QPainter& painter, const Span& shown, const QSizeF& size, double ratio, QImage* pixels);

    void Paint(const Pen& pen, const ValueScale& scale, const QColor& colour, bool standsOut);

    /// The columns in which the state of the pen that was painted last is not good all the time: from, until before.
    std::vector<std::pair<int, int>> BadColumns(const Series& series) const;

private:
    void PaintBars(const Pen& pen, const ValueScale& scale, const QColor& colour, bool standsOut);
    void PaintLines(const Pen& pen, const ValueScale& scale, const QColor& colour, bool standsOut);
    void PaintPoints(const Series& series, const ValueScale& scale, const QColor& colour);
    void StrokeBars(const QColor& colour);

    QPainter& m_Painter;
    const Span m_Shown;
    const QSizeF m_Size;
    const double m_Ratio;
    QImage* const m_Pixels;
    std::vector<Column> m_Columns;
    std::vector<Bar> m_Bars;
};
