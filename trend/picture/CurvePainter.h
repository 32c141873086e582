#pragma once

#include "trend/core/Bars.h"
#include "trend/core/Pen.h"

#include <QColor>
#include <QImage>

class QPainter;

/// How a curve is painted.
struct CurveLook
{
    QColor Colour;
    bool StandsOut = false;
    bool IsSmooth = true;  ///< straight lines without steps of pixels, which takes more time
    bool HasPoints = true; ///< where values are far apart
};

/// Paints the numbers of pens over time: as bars from the smallest to the largest value of each column of pixels, lines
/// between few values smoothly, and few values as points too.
class CurvePainter
{
public:
    /// A picture of `shown`, `size` large, whose corner is the painter's origin. With `pixels`, the painter's own
    /// (transparent, 32 bit, premultiplied), bars are set directly.
    CurvePainter(QPainter& painter, const Span& shown, const QSizeF& size, double ratio, QImage* pixels);

    void Paint(const Pen& pen, const ValueScale& scale, const CurveLook& look);

    /// The columns in which the state of the pen that was painted last is not good all the time: from, until before.
    std::vector<std::pair<int, int>> BadColumns(const Series& series) const;

private:
    void PaintBars(const Pen& pen, const ValueScale& scale, const CurveLook& look, bool isLine);
    void PaintLines(const Pen& pen, const ValueScale& scale, const CurveLook& look);
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
